#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/unit/platform/quickdraw/worlds.h"

namespace {

struct Refusal {
  short depth;
  Rect bounds;
  QDErr error;
};

class RefusedWorld : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedWorld, ReportsWhy) {
  GWorldPtr world = nullptr;
  EXPECT_EQ(NewGWorld(&world, GetParam().depth, &GetParam().bounds, nullptr, nullptr, 0),
            GetParam().error);
  EXPECT_EQ(world, nullptr);
}

constexpr Rect kOne = {0, 0, 1, 1};
constexpr Rect kLargest = {-32768, -32768, 32767, 32767};
INSTANTIATE_TEST_SUITE_P(
    NewGWorld, RefusedWorld,
    testing::Values(Refusal{0, kOne, paramErr}, Refusal{1, kOne, paramErr},
                    Refusal{15, kOne, paramErr}, Refusal{64, kOne, paramErr},
                    Refusal{-32, kOne, paramErr}, Refusal{32, {0, 0, 0, 0}, paramErr},
                    Refusal{32, {0, 0, 0, 5}, paramErr}, Refusal{32, {0, 5, 5, 5}, paramErr},
                    Refusal{32, {5, 0, 0, 5}, paramErr},
                    Refusal{32, {0, 32767, 1, -32768}, paramErr}, Refusal{8, kLargest, memFullErr},
                    Refusal{32, kLargest, memFullErr}));

TEST(NewWorld, NeedsAPlaceAndARectangle) {
  GWorldPtr world = nullptr;
  EXPECT_EQ(NewGWorld(nullptr, 32, &kOne, nullptr, nullptr, 0), paramErr);
  EXPECT_EQ(NewGWorld(&world, 32, nullptr, nullptr, nullptr, 0), paramErr);
}

TEST(NewWorld, IsDescribedByItsPixelMap) {
  const Rect bounds = {-5, 100, 15, 119};
  for (const short depth : std::initializer_list<short>{8, 16, 24, 32}) {
    const World world(depth, bounds);
    PixMapHandle map = GetGWorldPixMap(world.port());
    Rect read = {};
    EXPECT_EQ(GetPortBounds(world.port(), &read), &read);
    EXPECT_EQ(read, bounds);
    EXPECT_EQ((*map)->bounds, bounds);
    EXPECT_EQ((*map)->pixelSize, depth);
    EXPECT_EQ(GetPixDepth(map), depth);
    EXPECT_TRUE(LockPixels(map));
    EXPECT_EQ((*map)->baseAddr, GetPixBaseAddr(map));
    EXPECT_EQ((*map)->rowBytes & 0x7FFF, GetPixRowBytes(map));
    EXPECT_GE(GetPixRowBytes(map), 19 * depth / 8);
    EXPECT_EQ(world.Bytes(), std::vector<uint8_t>(world.byteCount())) << "zeroed";
    UnlockPixels(map);
  }
}

TEST(NewWorld, TellsTheRowBytesThatItsRecordHasNoRoomFor) {
  const World wide(32, {0, -20000, 2, 10000});
  PixMapHandle map = GetGWorldPixMap(wide.port());
  EXPECT_EQ(GetPixRowBytes(map), 30000 * 4);
  EXPECT_EQ((*map)->rowBytes & 0x7FFF, 0);
  wide.At(9999, 1)[3] = 1;
  EXPECT_EQ(wide.Pixel(9999, 1), (std::vector<uint8_t>{0, 0, 0, 1}));
}

TEST(UnknownPort, YieldsNothing) {
  auto* strange = reinterpret_cast<GWorldPtr>(0x1234);
  GrafPtr before = nullptr;
  GetPort(&before);
  for (GWorldPtr world : {static_cast<GWorldPtr>(nullptr), strange}) {
    Rect bounds = kOne;
    EXPECT_EQ(GetGWorldPixMap(world), nullptr);
    EXPECT_EQ(GetPortBitMapForCopyBits(world), nullptr);
    EXPECT_EQ(*GetPortBounds(world, &bounds), Rect{});
    DisposeGWorld(world);
    SetPort(world);
    SetGWorld(world, nullptr);
  }
  GrafPtr after = nullptr;
  GetPort(&after);
  EXPECT_EQ(after, before);
}

TEST(UnknownPixelMap, YieldsNothing) {
  for (auto* map : {static_cast<PixMapHandle>(nullptr), reinterpret_cast<PixMapHandle>(0x1234)}) {
    EXPECT_FALSE(LockPixels(map));
    EXPECT_EQ(GetPixBaseAddr(map), nullptr);
    EXPECT_EQ(GetPixRowBytes(map), 0);
    EXPECT_EQ(GetPixDepth(map), 0);
    UnlockPixels(map);
  }
}

GrafPtr CurrentPort() {
  GrafPtr port = nullptr;
  GetPort(&port);
  return port;
}

TEST(CurrentPort, CanBeSavedAndRestored) {
  GrafPtr saved = CurrentPort();
  ASSERT_NE(saved, nullptr);
  const World world(32, kOne);
  SetGWorld(world.port(), nullptr);
  EXPECT_EQ(CurrentPort(), world.port());
  SetPort(saved);
  EXPECT_EQ(CurrentPort(), saved);
}

TEST(CurrentPort, IsTheDefaultPortOnceItIsDisposedOf) {
  GrafPtr standard = CurrentPort();
  {
    const World world(32, kOne);
    SetPort(world.port());
  }
  EXPECT_EQ(CurrentPort(), standard);
}

TEST(CurrentPort, BelongsToTheThread) {
  GrafPtr standard = CurrentPort();
  const World world(32, kOne);
  SetPort(world.port());
  std::thread([=] { EXPECT_EQ(CurrentPort(), standard); }).join();
  SetPort(standard);
}

TEST(Rectangles, HaveACommonPartOrNone) {
  const Rect first = {0, 0, 900, 1440};
  Rect common = kOne;
  const Rect across = {100, 1400, 150, 1500};
  EXPECT_TRUE(SectRect(&first, &across, &common));
  EXPECT_EQ(common, (Rect{100, 1400, 150, 1440}));
  const Rect touching = {0, 1440, 900, 2000};
  EXPECT_FALSE(SectRect(&first, &touching, &common));
  EXPECT_EQ(common, Rect{});
  EXPECT_FALSE(SectRect(nullptr, &first, &common));
  EXPECT_FALSE(SectRect(&first, &first, nullptr));
}

TEST(Rectangles, CanBeReplacedByTheirCommonPart) {
  Rect first = {0, 0, 10, 10};
  const Rect second = {5, 5, 20, 20};
  EXPECT_TRUE(SectRect(&first, &second, &first));
  EXPECT_EQ(first, (Rect{5, 5, 10, 10}));
}

}  // namespace
