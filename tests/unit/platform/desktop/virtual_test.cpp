#include "platform/desktop/virtual/desktop.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/desktop/virtual/test_card.h"

namespace qrv::desktop {
namespace {

// Whether a captured part is the card's as the screen's depth shows it.
void ExpectCard(const Frame& frame, uint32_t index, const Display& display, const PixelRect& part) {
  ASSERT_EQ(std::pair(frame.width, frame.height), std::pair(part.width, part.height)) << index;
  for (int32_t i = 0; i < part.width * part.height; ++i) {
    const int32_t x = i % part.width, y = i / part.width;
    uint32_t pixel = 0;
    std::memcpy(&pixel, frame.pixels + static_cast<size_t>(y) * frame.rowBytes + x * 4, 4);
    const uint32_t card =
        TestCardPixel(index, display.pixelWidth, display.pixelHeight, part.x + x, part.y + y);
    ASSERT_EQ(pixel, ReduceColor(display.bitsPerPixel, card)) << index << ": " << x << ", " << y;
  }
}

TEST(VirtualDesktop, ShowsTheTestCardOnEveryDisplayAtEveryDepthInFramesThatOutliveIt) {
  const std::string layout =
      "641x479+0+0,300x301+641+0@16,257x400+0+479@8,200x150-200+0*2,1x1+0-1,23x99+0-99,"
      "32767x32767+1000+0";  // the last is too large to keep
  std::string problem;
  std::vector<Display> displays;
  auto desktop = OpenVirtualDesktop(layout, problem);
  ASSERT_TRUE(desktop->ListDisplays(displays));
  ASSERT_EQ(displays.size(), 7U);
  std::vector<Frame> frames;
  std::vector<PixelRect> parts;
  for (const Display& each : displays) {
    const int32_t width = each.pixelWidth, height = each.pixelHeight;
    parts.push_back(
        {width / 3, height / 5, std::min((width + 1) / 2, 700), std::min((height + 1) / 2, 500)});
    bool isGone = false;
    frames.push_back(desktop->Capture(each, parts.back(), isGone));
  }
  desktop.reset();
  for (uint32_t i = 0; i < 7; ++i) ExpectCard(frames[i], i, displays[i], parts[i]);
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
