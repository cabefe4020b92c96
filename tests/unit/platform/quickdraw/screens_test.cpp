#include <gtest/gtest.h>

#include "platform/desktop/session.h"
#include "tests/unit/platform/quickdraw/copy_model.h"

namespace {

using qrv::desktop::Display;
using qrv::desktop::Frame;

// What a display shows, in its bounds' coordinates; the desktop's pixels captured whole.
ColorAt ColorsOf(const Display& display) {
  const Frame frame =
      qrv::desktop::Capture(display, {0, 0, display.pixelWidth, display.pixelHeight},
                            qrv::desktop::Reader::kDisplayImage);
  return [=](int64_t x, int64_t y, int64_t xParts, int64_t yParts) -> std::optional<Color> {
    const int64_t scale = display.pixelWidth / display.bounds.width;
    const int64_t column = FloorDivide(x * scale, xParts) - display.bounds.x * scale;
    const int64_t row = FloorDivide(y * scale, yParts) - display.bounds.y * scale;
    if (column < 0 || column >= frame.width || row < 0 || row >= frame.height) return std::nullopt;
    const uint8_t* pixel =
        frame.pixels + static_cast<size_t>(row) * frame.rowBytes + static_cast<size_t>(column) * 4;
    return Color{0, pixel[2], pixel[1], pixel[0]};
  };
}

void ExpectCopiesOfScreensToAgree(const std::string& layout, uint32_t seed) {
  ShowDesktop(layout);
  Chance chance(seed);
  GDHandle device = GetDeviceList();
  const std::vector<Display> displays = *qrv::desktop::RefreshDisplays();
  for (const Display& display : displays) {
    ASSERT_NE(device, nullptr);
    const ColorAt colors = ColorsOf(display);
    for (int round = 0; round < 400; ++round) {
      const World target(chance.Depth(), chance.Bounds(60));
      const Rect from = chance.RectNear(BoundsOf(device));
      Rect to = chance.RectNear(target.bounds());
      if (round % 2 == 0) {
        to.right = static_cast<short>(to.left + from.right - from.left);
        to.bottom = static_cast<short>(to.top + from.bottom - from.top);
      }
      chance.Scribble(target);
      const std::vector<uint8_t> expected = ModelCopy(colors, target, from, to);
      CopyBits(BitMapOf(device), target.bitMap(), &from, &to, srcCopy, nullptr);
      ASSERT_EQ(target.Bytes(), expected) << "display " << display.id << ", round " << round;
    }
    device = GetNextDevice(device);
  }
  EXPECT_EQ(device, nullptr);
}

TEST(CopyFromAScreen, AgreesWithItsDefinitionOnEveryDisplay) {
  ExpectCopiesOfScreensToAgree("90x70+0+0,64x48-64-20,80x33+0+70", 4);
}

TEST(CopyFromAScreen, AgreesWithItsDefinitionAtOtherDepths) {
  ExpectCopiesOfScreensToAgree("90x70+0+0@16,64x48+90+0@8", 5);
}

TEST(CopyFromAScreen, AgreesWithItsDefinitionWhereAUnitIsTwoPixels) {
  ExpectCopiesOfScreensToAgree("60x50+0+0*2,50x40-50-7*2", 6);
}

TEST(CopyFromAScreen, TakesWholeDisplaysOfEvenAndOddWidths) {
  ShowDesktop("64x48+0+0,61x48+64+0");
  GDHandle devices[] = {GetDeviceList(), GetNextDevice(GetDeviceList())};
  const std::vector<Display> displays = *qrv::desktop::RefreshDisplays();
  for (size_t i = 0; i < 2; ++i) {
    for (const short depth : std::initializer_list<short>{8, 16, 24, 32}) {
      const Rect& bounds = BoundsOf(devices[i]);
      const World target(depth, bounds);
      CopyBits(BitMapOf(devices[i]), target.bitMap(), &bounds, &bounds, srcCopy, nullptr);
      EXPECT_EQ(target.Bytes(), ModelCopy(ColorsOf(displays[i]), target, bounds, bounds));
    }
  }
}

TEST(CopyFromAScreen, LeavesTheUnusedByteZero) {
  ShowDesktop("5x1+0+0");
  const Rect row = {0, 0, 1, 5};
  const World world(32, row);
  memset(world.At(0, 0), 0xFF, 20);
  CopyBits(BitMapOf(GetMainDevice()), world.bitMap(), &row, &row, srcCopy, nullptr);
  for (int x = 0; x < 5; ++x) EXPECT_EQ(world.At(x, 0)[0], 0) << x;
}

TEST(CopyFromAScreen, IsRecordedAsQuickDraws) {
  ShowDesktop("8x8+0+0");
  const Rect all = {0, 0, 8, 8};
  const World world(32, all);
  GDHandle device = GetMainDevice();
  QRVTakeReaders();
  CopyBits(BitMapOf(device), world.bitMap(), &all, &all, srcCopy, nullptr);
  EXPECT_EQ(QRVTakeReaders(), static_cast<unsigned>(qrv::desktop::Reader::kQuickDraw));
}

TEST(CopyToAScreen, IsRefused) {
  ShowDesktop("8x8+0+0");
  const Rect all = {0, 0, 8, 8};
  const World world(32, all);
  CopyBits(world.bitMap(), BitMapOf(GetMainDevice()), &all, &all, srcCopy, nullptr);
}

TEST(Devices, AreTheDisplaysWithTheMainOneFirst) {
  ShowDesktop("1440x900+0+0,1280x1024+1440+0@16,800x600-800-100@8");
  const Rect expected[] = {{0, 0, 900, 1440}, {0, 1440, 1024, 2720}, {-100, -800, 500, 0}};
  const short depths[] = {32, 16, 8};
  GDHandle device = GetDeviceList();
  EXPECT_EQ(device, GetMainDevice());
  for (int i = 0; i < 3; ++i, device = GetNextDevice(device)) {
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(BoundsOf(device), expected[i]);
    const PixMap& map = **(*device)->gdPMap;
    EXPECT_EQ(map.pixelSize, depths[i]);
    EXPECT_LT(map.rowBytes, 0) << "bit 15 tells a pixel map";
    EXPECT_EQ(GetPixDepth((*device)->gdPMap), depths[i]);
    EXPECT_EQ(GetPixBaseAddr((*device)->gdPMap), nullptr);
    EXPECT_FALSE(LockPixels((*device)->gdPMap));
  }
  EXPECT_EQ(device, nullptr);
}

TEST(Devices, HaveBoundsInUnitsWhereAUnitIsTwoPixels) {
  ShowDesktop("720x450+0+0*2");
  const int width = BoundsOf(GetMainDevice()).right;
  EXPECT_EQ(width, qrv::desktop::RefreshDisplays()->front().bounds.width);
  EXPECT_EQ(width * 2, qrv::desktop::RefreshDisplays()->front().pixelWidth);
}

TEST(Devices, ReachNoFurtherThanTheirCoordinates) {
  ShowDesktop("32000x10+0+0,1000x10+32000+0");
  const Rect clipped = {0, 32000, 10, 32767};
  EXPECT_EQ(BoundsOf(GetNextDevice(GetDeviceList())), clipped);
}

TEST(Devices, AreNoneWithoutADesktop) {
  setenv("QRV_DESKTOP", "nonsense", 1);
  EXPECT_EQ(GetDeviceList(), nullptr);
  EXPECT_EQ(GetMainDevice(), nullptr);
  EXPECT_EQ(GetNextDevice(nullptr), nullptr);
}

TEST(Devices, AreNeededForAWorld) {
  const Rect bounds = {0, 0, 10, 10};
  GWorldPtr world = nullptr;
  setenv("QRV_DESKTOP", "nonsense", 1);
  GetDeviceList();
  EXPECT_NE(NewGWorld(&world, 32, &bounds, nullptr, nullptr, 0), 0);
  EXPECT_EQ(world, nullptr);
  ShowDesktop("10x10+0+0");
  GetDeviceList();
  const World made(32, bounds);
}

TEST(Devices, ThatHaveGoneAreHarmless) {
  ShowDesktop("10x10+0+0,10x10+10+0");
  GDHandle second = GetNextDevice(GetDeviceList());
  const BitMap* map = BitMapOf(second);
  ShowDesktop("10x10+0+0");
  GetDeviceList();
  const Rect part = {0, 10, 5, 15};
  const World world(8, part);
  CopyBits(map, world.bitMap(), &part, &part, srcCopy, nullptr);
  EXPECT_EQ(world.Bytes(), std::vector<uint8_t>(world.byteCount()));
  EXPECT_EQ(GetNextDevice(second), nullptr);
}

TEST(Devices, KeepTheirHandlesFromListToList) {
  ShowDesktop("10x10+0+0");
  GDHandle before = GetDeviceList();
  ShowDesktop("20x20+0+0,10x10+20+0,10x10+30+0,10x10+40+0");
  EXPECT_EQ(GetDeviceList(), before);
  EXPECT_EQ(BoundsOf(before).right, 20);
}

}  // namespace
