// Displays with more pixels than units.

#include "platform/desktop/test_card.h"
#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

// The test card of display 0, 80 x 60 pixels, from pixel (left, top) on; black beyond.
runtime::Image Card(int left, int top, int width, int height) {
  runtime::Image image = {width, height, {}};
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) {
      const uint32_t colour = x < 80 && y < 60 ? desktop::TestCardPixel(0, 80, 60, x, y) : 0;
      for (const int shift : {16, 8, 0})
        image.rgba.push_back(static_cast<uint8_t>(colour >> shift));
      image.rgba.push_back(255);
    }
  }
  return image;
}

class DenseDisplay : public ::testing::Test {
 protected:
  DenseDisplay() { UseDesktop("virtual:40x30+0+0*2"); }

  Plugin plugin;
};

TEST_F(DenseDisplay, IsCapturedWholeAtItsPixelSize) {
  for (const char* system : {kDisplayImage, kOpenGL}) {
    UseSystem(system);
    EXPECT_EQ(Difference(plugin.Main(), Card(0, 0, 80, 60)), "") << system;
  }
  const RawPixels raw = plugin.Raw();
  EXPECT_EQ(std::tuple(raw.width, raw.height), std::tuple(80, 60));
}

TEST_F(DenseDisplay, FillsARectangleWithItsPixelsFromTheCornerOn) {
  UseSystem(kDisplayImage);
  // 20 x 16 units hold 40 x 32 pixels, of which the picture has room for a quarter.
  EXPECT_EQ(Difference(plugin.Rect(10, 10, 20, 16), Card(20, 20, 20, 16)), "");
  EXPECT_EQ(Difference(plugin.Rect(35, 25, 20, 16), Card(70, 50, 20, 16)), "");
}

}  // namespace
}  // namespace qrv::testing
