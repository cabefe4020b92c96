#include "platform/desktop/virtual.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/test_card.h"

namespace qrv::desktop {
namespace {

struct Opened {
  explicit Opened(const std::string& layout) {
    std::string problem;
    desktop = OpenVirtualDesktop(layout, problem);
    if (desktop) desktop->ListDisplays(displays);
  }

  std::unique_ptr<Desktop> desktop;
  std::vector<Display> displays;
};

uint32_t PixelAt(const Frame& frame, int32_t x, int32_t y) {
  uint32_t pixel = 0;
  std::memcpy(&pixel,
              frame.pixels + static_cast<size_t>(y) * frame.rowBytes + static_cast<size_t>(x) * 4,
              sizeof pixel);
  return pixel;
}

// How many pixels of a captured part differ from the card as the screen's depth shows it.
int CountWrongPixels(const Frame& frame, uint32_t index, const Display& display, int32_t left,
                     int32_t top) {
  int wrong = 0;
  for (int32_t y = 0; y < frame.height; ++y) {
    for (int32_t x = 0; x < frame.width; ++x) {
      const uint32_t card =
          TestCardPixel(index, display.pixelWidth, display.pixelHeight, left + x, top + y);
      if (PixelAt(frame, x, y) != ReduceColor(display.bitsPerPixel, card)) ++wrong;
    }
  }
  return wrong;
}

TEST(VirtualDesktop, ShowsTheTestCardOnEveryDisplayAtEveryDepth) {
  const Opened opened(
      "641x479+0+0,300x301+641+0@16,257x400+0+479@8,200x150-200+0*2,1x1+0-1,23x99+0-99");
  ASSERT_EQ(opened.displays.size(), 6U);
  for (uint32_t index = 0; index < opened.displays.size(); ++index) {
    const Display& display = opened.displays[index];
    const Frame frame =
        opened.desktop->Capture(display, {0, 0, display.pixelWidth, display.pixelHeight});
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.width, display.pixelWidth);
    EXPECT_EQ(frame.height, display.pixelHeight);
    EXPECT_EQ(CountWrongPixels(frame, index, display, 0, 0), 0) << "display " << index;
  }
}

TEST(VirtualDesktop, ShowsPartsAsInTheWhole) {
  const Opened opened("640x480+0+0@16");
  const Frame frame = opened.desktop->Capture(opened.displays[0], {301, 77, 129, 340});
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame.width, 129);
  EXPECT_EQ(frame.height, 340);
  EXPECT_EQ(CountWrongPixels(frame, 0, opened.displays[0], 301, 77), 0);
}

TEST(VirtualDesktop, ShowsPartsOfADisplayThatIsTooLargeToKeep) {
  const Opened opened("1x1+0+0,32767x32767+1+0");
  const Frame frame = opened.desktop->Capture(opened.displays[1], {15000, 12000, 700, 500});
  ASSERT_TRUE(frame);
  EXPECT_EQ(CountWrongPixels(frame, 1, opened.displays[1], 15000, 12000), 0);
}

TEST(VirtualDesktop, SharesTheCardBetweenItsFrames) {
  const Opened opened("640x480+0+0");
  const Frame whole = opened.desktop->Capture(opened.displays[0], {0, 0, 640, 480});
  const Frame part = opened.desktop->Capture(opened.displays[0], {10, 20, 5, 5});
  EXPECT_EQ(part.pixels, whole.pixels + 20 * whole.rowBytes + 40);
}

TEST(VirtualDesktop, LeavesItsFramesBehind) {
  auto opened = std::make_unique<Opened>("64x48+0+0");
  const Display display = opened->displays[0];
  const Frame frame = opened->desktop->Capture(display, {0, 0, 64, 48});
  opened.reset();
  EXPECT_EQ(CountWrongPixels(frame, 0, display, 0, 0), 0);
}

TEST(VirtualDesktop, HasNoPixelsOutsideOfItsDisplays) {
  const Opened opened("640x480+0+0");
  const Display& display = opened.displays[0];
  Display stranger = display;
  stranger.id = 77;
  EXPECT_FALSE(opened.desktop->Capture(stranger, {0, 0, 1, 1}));
  for (const PixelRect& part :
       {PixelRect{-1, 0, 2, 2}, PixelRect{0, -1, 2, 2}, PixelRect{639, 0, 2, 2},
        PixelRect{0, 479, 2, 2}, PixelRect{0, 0, 0, 1}, PixelRect{2147483647, 0, 1, 1}}) {
    EXPECT_FALSE(opened.desktop->Capture(display, part)) << part.x << ' ' << part.y;
  }
}

TEST(TestCard, TellsItsEdgesApart) {
  EXPECT_EQ(TestCardPixel(0, 200, 100, 50, 0), 0xFF0000U);
  EXPECT_EQ(TestCardPixel(0, 200, 100, 50, 99), 0x0000FFU);
  EXPECT_EQ(TestCardPixel(0, 200, 100, 0, 50), 0xFFFF00U);
  EXPECT_EQ(TestCardPixel(0, 200, 100, 199, 50), 0x00FF00U);
}

TEST(TestCard, TellsDisplaysOfOneSizeApart) {
  for (uint32_t index = 1; index < 32; ++index) {
    int differences = 0;
    for (int32_t y = 0; y < 240; ++y) {
      for (int32_t x = 0; x < 240; ++x) {
        if (TestCardPixel(index, 240, 240, x, y) != TestCardPixel(index - 1, 240, 240, x, y)) {
          ++differences;
        }
      }
    }
    EXPECT_GT(differences, 1000) << index;
  }
}

TEST(TestCard, IsReducedToTheScreensDepth) {
  EXPECT_EQ(ReduceColor(32, 0x123456U), 0x123456U);
  EXPECT_EQ(ReduceColor(16, 0xFF0807U), 0xFF0800U);  // 31, 1 and 0 of 31
  EXPECT_EQ(ReduceColor(8, 0xFFFFFFU), 0xFFFFFFU);
  EXPECT_EQ(ReduceColor(8, 0x00FF00U), 0x959595U);  // (150 * 255 + 128) / 256
}

}  // namespace
}  // namespace qrv::desktop
