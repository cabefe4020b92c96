#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <random>

#include "platform/desktop/session.h"
#include "platform/quickdraw/quickdraw.h"

static bool operator==(const Rect& first, const Rect& second) {
  return first.top == second.top && first.left == second.left && first.bottom == second.bottom &&
         first.right == second.right;
}

namespace {

using qrv::desktop::Display;

// Makes this the screens; returns the first device.
GDHandle ShowDesktop(const std::string& layout) {
  setenv("QRV_DESKTOP", ("virtual:" + layout).c_str(), 1);
  return GetDeviceList();
}

// There has to be a screen.
class World {
 public:
  World(short depth, const Rect& bounds) : bounds_(bounds), depth_(depth) {
    EXPECT_EQ(NewGWorld(&port_, depth, &bounds, nullptr, nullptr, 0), 0);
  }
  World(const World&) = delete;
  World& operator=(const World&) = delete;
  ~World() { DisposeGWorld(port_); }

  GWorldPtr port() const { return port_; }
  PixMapHandle map() const { return GetGWorldPixMap(port_); }
  const BitMap* bitMap() const { return GetPortBitMapForCopyBits(port_); }
  size_t pixelBytes() const { return static_cast<size_t>(depth_) / 8; }
  size_t rowBytes() const { return static_cast<size_t>(GetPixRowBytes(map())); }
  // Where the pixel at (x, y) in the world's coordinates begins.
  size_t Offset(int x, int y) const {
    return static_cast<size_t>(y - bounds_.top) * rowBytes() +
           static_cast<size_t>(x - bounds_.left) * pixelBytes();
  }
  // All of the memory, padding included.
  uint8_t* begin() const { return reinterpret_cast<uint8_t*>(GetPixBaseAddr(map())); }
  uint8_t* end() const { return begin() + Offset(bounds_.left, bounds_.bottom); }
  std::vector<uint8_t> Bytes() const { return {begin(), end()}; }
  bool IsBlack() const { return std::count(begin(), end(), 0) == end() - begin(); }

 private:
  GWorldPtr port_ = nullptr;
  Rect bounds_;
  short depth_;
};

const Rect& BoundsOf(GDHandle device) { return (*(*device)->gdPMap)->bounds; }

const BitMap* BitMapOf(GDHandle device) {
  return reinterpret_cast<const BitMap*>(*(*device)->gdPMap);
}

// --- Worlds ---

constexpr short kDepths[] = {8, 16, 24, 32};

class Worlds : public testing::Test {
 protected:
  Worlds() { ShowDesktop("8x8+0+0"); }
};

TEST_F(Worlds, AreRefusedWithTheReason) {
  constexpr Rect kOne = {0, 0, 1, 1};
  constexpr Rect kLargest = {-32768, -32768, 32767, 32767};
  struct {
    short depth;
    Rect bounds;
    QDErr error;
  } const cases[] = {{0, kOne, paramErr},          {15, kOne, paramErr},
                     {64, kOne, paramErr},         {32, {0, 0, 0, 5}, paramErr},
                     {32, {0, 5, 5, 5}, paramErr}, {32, {0, 32767, 1, -32768}, paramErr},
                     {8, kLargest, memFullErr},    {32, kLargest, memFullErr}};
  for (const auto& [depth, bounds, error] : cases) {
    GWorldPtr world = nullptr;
    EXPECT_EQ(NewGWorld(&world, depth, &bounds, nullptr, nullptr, 0), error) << depth;
    EXPECT_EQ(world, nullptr);
  }
}

#if defined(__x86_64__)
// What aligns the rows does not count.
TEST_F(Worlds, HaveFewerThanTwoToThe31BytesOfPixels) {
  EXPECT_EQ(World(32, {0, 0, 16384, 32766}).rowBytes(), 131072U);
}
#endif

TEST_F(Worlds, AreDescribedByTheirPixelMapsAndZeroed) {
  for (const Rect& bounds : {Rect{-5, 100, 15, 119}, Rect{0, -20000, 2, 10000}}) {
    for (const short depth : kDepths) {
      const World world(depth, bounds);
      Rect read = {};
      EXPECT_EQ(*GetPortBounds(world.port(), &read), bounds);
      EXPECT_EQ(GetPixDepth(world.map()), depth);
      EXPECT_TRUE(LockPixels(world.map()));
      EXPECT_GE(static_cast<int>(world.rowBytes()), (bounds.right - bounds.left) * depth / 8);
      // The record's field has 14 bits.
      EXPECT_EQ((*world.map())->rowBytes & 0x7FFF,
                world.rowBytes() < 0x4000 ? world.rowBytes() : 0);
      EXPECT_TRUE(world.IsBlack());
    }
  }
}

TEST_F(Worlds, AreTheCurrentPortUntilTheyAreDisposedOf) {
  GrafPtr standard = nullptr, current = nullptr;
  GetPort(&standard);
  ASSERT_NE(standard, nullptr);
  {
    const World world(32, {0, 0, 1, 1});
    for (GrafPtr port : {world.port(), standard, world.port()}) {
      SetPort(port);
      GetPort(&current);
      EXPECT_EQ(current, port);
    }
  }
  GetPort(&current);
  EXPECT_EQ(current, standard);
}

TEST_F(Worlds, AreFilledWithBlackWithinTheRectangleOnly) {
  Pattern pattern = {};
  GetQDGlobalsBlack(&pattern);
  const Rect corner = {1, 1, 30, 40};
  for (const short depth : kDepths) {
    const World world(depth, {-1, -1, 2, 3});
    SetPort(world.port());
    std::fill(world.begin(), world.end(), uint8_t{0x55});
    std::vector<uint8_t> expected = world.Bytes();
    std::fill_n(expected.data() + world.Offset(1, 1), 2 * depth / 8, uint8_t{0});
    FillRect(&corner, &pattern);
    EXPECT_EQ(world.Bytes(), expected) << depth;
  }
}

// --- Screens ---

// The pixel of an axis of a screen, from its first coordinate on, that a copy which does not shrink
// shows at a coordinate of the target: the one at its centre, or -1.
int64_t SourceOf(int at, int from, int fromEnd, int to, int toEnd, int first, int pixels) {
  const int fromLength = fromEnd - from, toLength = toEnd - to;
  if (fromLength <= 0 || at < to || at >= toEnd) return -1;
  const int64_t place =
      int64_t{2} * (from - first) * toLength + int64_t{2 * (at - to) + 1} * fromLength;
  return place < 0 || place >= int64_t{2} * pixels * toLength ? -1 : place / (2 * toLength);
}

// The bytes of a world's pixel of that colour, at each number of bytes.
std::vector<uint8_t> Encode(const uint8_t* bgr, size_t pixelBytes) {
  const int word = bgr[2] / 8 * 1024 + bgr[1] / 8 * 32 + bgr[0] / 8;
  const int grey = (77 * bgr[2] + 150 * bgr[1] + 29 * bgr[0] + 128) / 256;
  const std::vector<int> bytes[] = {
      {grey}, {word / 256, word % 256}, {bgr[2], bgr[1], bgr[0]}, {0, bgr[2], bgr[1], bgr[0]}};
  return {bytes[pixelBytes - 1].begin(), bytes[pixelBytes - 1].end()};
}

class CopyFromAScreen : public testing::Test {
 protected:
  int Pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  static Rect MakeRect(int left, int top, int width, int height) {
    const auto edge = [](int at) { return static_cast<short>(std::clamp(at, -32768, 32767)); };
    return {edge(top), edge(left), edge(top + height), edge(left + width)};
  }
  // Mostly near `bounds`; sometimes empty, inverted, or reaching far out.
  Rect PickRect(const Rect& bounds) {
    const int far = Pick(0, 9) == 0 ? 30000 : 0;
    return MakeRect(Pick(bounds.left - 10 - far, bounds.right),
                    Pick(bounds.top - 10, bounds.bottom),
                    Pick(-5, bounds.right - bounds.left + 20 + 2 * far),
                    Pick(-5, bounds.bottom - bounds.top + 20));
  }

  // Pixel by pixel.
  void ExpectCopy(const Display& display, GDHandle device, const Rect& from, const Rect& to,
                  const World& target, const Rect& bounds) {
    std::generate(target.begin(), target.end(), [this] { return Pick(0, 255); });
    std::vector<uint8_t> expected = target.Bytes();
    const auto& [left, top, width, height] = display.bounds;
    const auto screen = qrv::desktop::Capture(display, {0, 0, width, height},
                                              qrv::desktop::Strategy::kDisplayImage);
    for (int y = bounds.top; y < bounds.bottom; ++y) {
      const int64_t row = SourceOf(y, from.top, from.bottom, to.top, to.bottom, top, height);
      for (int x = bounds.left; x < bounds.right; ++x) {
        const int64_t column = SourceOf(x, from.left, from.right, to.left, to.right, left, width);
        if (column < 0 || row < 0) continue;
        const auto pixel =
            Encode(screen.pixels + row * screen.rowBytes + column * 4, target.pixelBytes());
        std::copy(pixel.begin(), pixel.end(), expected.data() + target.Offset(x, y));
      }
    }
    CopyBits(BitMapOf(device), target.bitMap(), &from, &to, srcCopy, nullptr);
    ASSERT_EQ(target.Bytes(), expected)
        << "display " << display.id << " in " << target.pixelBytes();
  }

  std::mt19937 random_;
};

TEST_F(CopyFromAScreen, AgreesWithItsDefinitionAtEveryDepth) {
  for (const char* layout : {"64x48+0+0,61x48-61-20,80x33+0+70", "90x70+0+0@16,64x48+90+0@8"}) {
    GDHandle device = ShowDesktop(layout);
    for (const Display& display : *qrv::desktop::LatestDisplays()) {
      const Rect& screen = BoundsOf(device);
      for (int round = 0; round < 120; ++round) {
        const bool isWhole = round < 4;
        const Rect bounds =
            isWhole ? screen : MakeRect(Pick(-60, 40), Pick(-60, 40), Pick(1, 60), Pick(1, 60));
        const World target(kDepths[round % 4], bounds);
        const Rect from = isWhole ? screen : PickRect(screen);
        Rect to = isWhole ? screen : PickRect(bounds);
        // Not scaled, or larger by any factor.
        const int larger = round % 8 < 4 ? 0 : Pick(0, 90);
        to = MakeRect(to.left, to.top, from.right - from.left + larger,
                      from.bottom - from.top + larger / 2);
        ExpectCopy(display, device, from, to, target, bounds);
      }
      device = GetNextDevice(device);
    }
    EXPECT_EQ(device, nullptr);
  }
}

TEST(Devices, ThatHaveGoneAreHarmlessAndThoseThatStayKeepTheirHandles) {
  GDHandle first = ShowDesktop("10x10+0+0,10x10+10+0");
  GDHandle second = GetNextDevice(first);
  EXPECT_EQ(ShowDesktop("20x20+0+0"), first);
  EXPECT_EQ(BoundsOf(first).right, 20);
  const Rect part = {0, 10, 5, 15};
  const World world(8, part);
  CopyBits(BitMapOf(second), world.bitMap(), &part, &part, srcCopy, nullptr);
  EXPECT_TRUE(world.IsBlack());
  EXPECT_EQ(GetPixDepth((*second)->gdPMap), 0);
}

TEST(Devices, ReachNoFurtherThanTheirCoordinates) {
  const Rect clipped = {0, 32000, 10, 32767};
  EXPECT_EQ(BoundsOf(GetNextDevice(ShowDesktop("32000x10+0+0,1000x10+32000+0"))), clipped);
}

}  // namespace
