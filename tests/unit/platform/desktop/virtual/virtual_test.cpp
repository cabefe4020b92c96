#include "platform/desktop/virtual/desktop.h"

#include "platform/desktop/virtual/test_card.h"
#include "tests/unit/platform/desktop/tested_desktop.h"

namespace qrv::desktop {
namespace {

TEST(VirtualDesktop, ShowsTheTestCardOnEveryDisplayAtEveryDepthInFramesThatOutliveIt) {
  const std::string layout =
      "641x479+0+0,300x301+641+0@16,257x400+0+479@8,200x150-200+0*2,1x1+0-1,23x99+0-99,"
      "32767x32767+1000+0";  // the last is too large to keep
  TestedDesktop tested = {OpenVirtualDesktop(layout)};
  ASSERT_EQ(tested.List(), 7U);
  std::vector<PixelRect> parts;
  std::vector<Frame> frames;
  for (size_t i = 0; i < 7; ++i) {
    const auto [x, y, width, height] = tested.Whole(i);
    parts.push_back({width / 3, height / 5, std::min(width - width / 3, 700),
                     std::min(height - height / 5, 500)});
    frames.push_back(tested.Capture(parts[i], i));
  }
  tested.desktop.reset();
  for (uint32_t i = 0; i < 7; ++i) {
    const Display& its = tested.displays[i];
    const auto card = [&](int x, int y) {
      return ReduceColor(its.bitsPerPixel, TestCardPixel(i, its.pixelWidth, its.pixelHeight,
                                                         parts[i].x + x, parts[i].y + y));
    };
    EXPECT_EQ(TestedDesktop::CountOther(frames[i], card), 0) << i;
    EXPECT_EQ(std::pair(frames[i].width, frames[i].height),
              std::pair(parts[i].width, parts[i].height));
  }
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
