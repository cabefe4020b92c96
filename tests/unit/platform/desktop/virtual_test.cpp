#include "platform/desktop/virtual/desktop.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/virtual/test_card.h"

namespace qrv::desktop {
namespace {

struct Opened {
  explicit Opened(const std::string& layout) {
    std::string problem;
    desktop = OpenVirtualDesktop(layout, problem);
    desktop->ListDisplays(displays);
  }
  Frame Capture(size_t index, const PixelRect& part) {
    bool isGone = false;
    return desktop->Capture(displays[index], part, isGone);
  }

  std::unique_ptr<Desktop> desktop;
  std::vector<Display> displays;
};

// Whether a captured part is the card's as the screen's depth shows it.
void ExpectCard(const Frame& frame, uint32_t index, const Display& display, const PixelRect& part) {
  ASSERT_EQ(frame.width, part.width) << "display " << index;
  ASSERT_EQ(frame.height, part.height) << "display " << index;
  for (int32_t y = 0; y < part.height; ++y) {
    for (int32_t x = 0; x < part.width; ++x) {
      const uint8_t* const at = frame.pixels + static_cast<size_t>(y) * frame.rowBytes + x * 4;
      uint32_t pixel = 0;
      std::memcpy(&pixel, at, sizeof pixel);
      const uint32_t card =
          TestCardPixel(index, display.pixelWidth, display.pixelHeight, part.x + x, part.y + y);
      ASSERT_EQ(pixel, ReduceColor(display.bitsPerPixel, card)) << index << ": " << x << ", " << y;
    }
  }
}

TEST(VirtualDesktop, ShowsTheTestCardOnEveryDisplayAtEveryDepthAndInEveryPart) {
  Opened opened("641x479+0+0,300x301+641+0@16,257x400+0+479@8,200x150-200+0*2,1x1+0-1,23x99+0-99");
  ASSERT_EQ(opened.displays.size(), 6U);
  for (uint32_t index = 0; index < 6; ++index) {
    const Display& display = opened.displays[index];
    const PixelRect whole = {0, 0, display.pixelWidth, display.pixelHeight};
    const PixelRect part = {whole.width / 3, whole.height / 5, (whole.width + 1) / 2,
                            (whole.height + 1) / 2};
    ExpectCard(opened.Capture(index, whole), index, display, whole);
    ExpectCard(opened.Capture(index, part), index, display, part);
  }
  Opened large("1x1+0+0,32767x32767+1+0");  // too large to keep
  const PixelRect part = {15000, 12000, 700, 500};
  ExpectCard(large.Capture(1, part), 1, large.displays[1], part);
}

TEST(VirtualDesktop, LeavesItsFramesBehind) {
  auto opened = std::make_unique<Opened>("64x48+0+0");
  const Display display = opened->displays[0];
  const Frame frame = opened->Capture(0, {0, 0, 64, 48});
  opened.reset();
  ExpectCard(frame, 0, display, {0, 0, 64, 48});
}

TEST(TestCard, HasTheColorsOfItsEdgesReducedToTheScreensDepth) {
  EXPECT_EQ(TestCardPixel(0, 200, 100, 50, 0), 0xFF0000U);
  EXPECT_EQ(TestCardPixel(0, 200, 100, 50, 99), 0x0000FFU);
  EXPECT_EQ(TestCardPixel(0, 200, 100, 0, 50), 0xFFFF00U);
  EXPECT_EQ(TestCardPixel(0, 200, 100, 199, 50), 0x00FF00U);
  EXPECT_EQ(ReduceColor(16, 0xFF0807U), 0xFF0800U);  // 31, 1 and 0 of 31
  EXPECT_EQ(ReduceColor(8, 0xFFFFFFU), 0xFFFFFFU);
  EXPECT_EQ(ReduceColor(8, 0x00FF00U), 0x959595U);  // (150 * 255 + 128) / 256
}

}  // namespace
}  // namespace qrv::desktop
