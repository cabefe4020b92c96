#include <gtest/gtest.h>

#include <cstring>

#include "tests/unit/platform/quickdraw/worlds.h"

namespace {

using Bytes = std::vector<uint8_t>;

// A world of one depth as the current port, its bytes all 0x55.
class Fill : public testing::TestWithParam<short> {
 protected:
  Fill() {
    GetPort(&saved_);
    SetGWorld(world_.port(), nullptr);
    memset(world_.At(-3, -2), 0x55, world_.byteCount());
  }
  ~Fill() override { SetPort(saved_); }

  static Bytes Colored(bool white) {
    switch (GetParam()) {
      case 8:
        return Bytes(1, white ? 0xFF : 0);
      case 16:
        return white ? Bytes{0x7F, 0xFF} : Bytes{0, 0};
      case 24:
        return Bytes(3, white ? 0xFF : 0);
      default:
        return white ? Bytes{0, 0xFF, 0xFF, 0xFF} : Bytes(4, 0);
    }
  }
  Bytes Untouched() const { return Bytes(world_.pixelBytes(), 0x55); }

  // Compares every pixel within the bounds.
  template <typename Expected>
  void ExpectPixels(Expected expected) const {
    for (int y = -2; y < 30; ++y) {
      for (int x = -3; x < 26; ++x) ASSERT_EQ(world_.Pixel(x, y), expected(x, y)) << x << "," << y;
    }
  }

  World world_{GetParam(), {-2, -3, 30, 26}};
  GrafPtr saved_ = nullptr;
};
INSTANTIATE_TEST_SUITE_P(Depths, Fill, testing::Values(8, 16, 24, 32));

TEST_P(Fill, WithTheBlackPatternIsBlackWithinTheRectangleOnly) {
  Pattern black;
  EXPECT_EQ(GetQDGlobalsBlack(&black), &black);
  const Rect rect = {1, 2, 20, 9};
  FillRect(&rect, &black);
  ExpectPixels([&](int x, int y) {
    return x >= 2 && x < 9 && y >= 1 && y < 20 ? Colored(false) : Untouched();
  });
}

TEST_P(Fill, UsesThePortsOwnColors) {
  ForeColor(whiteColor);
  ForeColor(205);
  SetPort(saved_);
  ForeColor(blackColor);
  SetPort(world_.port());
  Pattern black;
  const Rect everything = {-32768, -32768, 32767, 32767};
  FillRect(&everything, GetQDGlobalsBlack(&black));
  ExpectPixels([](int, int) { return Colored(true); });
}

TEST_P(Fill, LaysPatternsOutFromTheOriginOfTheCoordinates) {
  const Pattern pattern = {{0x80, 0x01, 0xF0, 0x0F, 0xAA, 0x55, 0xFF, 0x00}};
  const Rect rect = {-2, -3, 30, 26};
  FillRect(&rect, &pattern);
  ExpectPixels([&](int x, int y) {
    return Colored((pattern.pat[(y + 8) % 8] >> (7 - (x + 8) % 8) & 1) == 0);
  });
}

TEST_P(Fill, OfAnEmptyRectangleDrawsNothing) {
  Pattern black;
  GetQDGlobalsBlack(&black);
  const Rect inverted = {20, 20, 1, 1};
  FillRect(&inverted, &black);
  FillRect(nullptr, &black);
  FillRect(&inverted, nullptr);
  ExpectPixels([&](int, int) { return Untouched(); });
}

TEST(FillOfTheDefaultPort, DrawsNothing) {
  Pattern black;
  const Rect rect = {0, 0, 10, 10};
  FillRect(&rect, GetQDGlobalsBlack(&black));
  EXPECT_EQ(GetQDGlobalsBlack(nullptr), nullptr);
}

}  // namespace
