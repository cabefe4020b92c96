#include "platform/desktop/virtual/desktop.h"

#include <cmath>

#include "platform/desktop/virtual/layout.h"
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

TEST(VirtualDesktop, BlendsItsPointer) {
  TestedDesktop tested = {OpenVirtualDesktop("100x80+0+0*2,90x90+100+0")};
  ASSERT_EQ(tested.List(), 2U);
  const PixelRect region = {55, 42, 40, 30};  // the pointer's corner is at (50, 40)
  const auto shown = [&](int x, int y) {
    const uint32_t card = TestCardPixel(0, 200, 160, 55 + x, 42 + y);
    if (x > 10 || y > 13) return card;
    if (x == 10 || y == 13) return 0U;
    uint32_t blended = 0;
    for (int shift = 0; shift < 24; shift += 8) {
      const double behind = (card >> shift & 0xFF) * 127 / 255.0;
      blended |= static_cast<uint32_t>(std::lround(128 + behind)) << shift;
    }
    return blended;
  };
  EXPECT_EQ(tested.CountOther(tested.Capture(region, 0, Pointer::kShown), shown), 0);
  const Frame other = tested.Capture(tested.Whole(1), 1, Pointer::kShown);
  EXPECT_EQ(tested.CountOther(other, [](int x, int y) { return TestCardPixel(1, 90, 90, x, y); }),
            0);
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

std::string Repeated(int count) {
  std::string layout = "1x1+0+0";
  for (int i = 1; i < count; ++i) layout += ",1x1+" + std::to_string(i) + "+0";
  return layout;
}

TEST(Layout, DescribesItsDisplaysFromTheFirstOnesCornerOn) {
  struct {
    std::string layout;
    size_t count;
    PixelRect bounds;  // of the last display
    int pixelWidth, pixelHeight, bitsPerPixel;
  } const cases[] = {
      {std::string(kDefaultLayout), 2, {1440, 0, 1280, 1024}, 1280, 1024, 32},
      {"10x10+0+0,20x30-20-30", 2, {-20, -30, 20, 30}, 20, 30, 32},
      {"10x10+0+0,20x30+-20+-30", 2, {-20, -30, 20, 30}, 20, 30, 32},
      {"10x10+100-7,20x20+0+0", 2, {-100, 7, 20, 20}, 20, 20, 32},
      {"10x10+100-7", 1, {0, 0, 10, 10}, 10, 10, 32},
      {"1x2+0+0@32", 1, {0, 0, 1, 2}, 1, 2, 32},
      {"1x2+0+0@16*2", 1, {0, 0, 1, 2}, 2, 4, 16},
      {"1x2+0+0*3@8", 1, {0, 0, 1, 2}, 3, 6, 8},
      {"100x40+0+0*1.5", 1, {0, 0, 100, 40}, 150, 60, 32},
      {"100x40+0+0*3.75", 1, {0, 0, 100, 40}, 375, 150, 32},
      {"32767x32767-32767+32767", 1, {0, 0, 32767, 32767}, 32767, 32767, 32},
      {"8191x1+0+0*4", 1, {0, 0, 8191, 1}, 32764, 4, 32},
      {Repeated(32), 32, {31, 0, 1, 1}, 1, 1, 32},
  };
  for (const auto& each : cases) {
    std::vector<Display> displays;
    std::string problem;
    ASSERT_TRUE(ParseLayout(each.layout, displays, problem)) << each.layout << ": " << problem;
    ASSERT_EQ(displays.size(), each.count) << each.layout;
    const Display& last = displays.back();
    EXPECT_EQ(last.bounds, each.bounds) << each.layout;
    EXPECT_EQ(std::tuple(last.id, last.pixelWidth, last.pixelHeight, last.bitsPerPixel),
              std::tuple(each.count, each.pixelWidth, each.pixelHeight, each.bitsPerPixel))
        << each.layout;
  }
}

TEST(Layout, RefusesWhatBreaksTheGrammar) {
  std::istringstream cases(
      ";,;10;10x10;10x10+0;10x10+0+0,;,10x10+0+0;x10+0+0;10x+0+0;10X10+0+0;10x10++0+0;10x10--1+0;"
      "10x10-+1+0;10x10+0+0@;10x10+0+0@24;10x10+0+0@8@8;10x10+0+0*;10x10+0+0*0;10x10+0+0*5;"
      "10x10+0+0*1.;10x10+0+0*1.255;10x10+0+0*4.01;10x10+0+0*0.99;10x10+0+0*99999.99;"
      "10x10+0+0*2*2;10x10+0+0!;-10x10+0+0;0x10+0+0;10x0+0+0;32768x1+0+0;1x32768+0+0;"
      "16384x1+0+0*2;1x1+32768+0;1x1+0-32768;100000x1+0+0;99999999999999999999x1+0+0;"
      "1x1+4294967296+0;1x1+0+0@08*;1x1+0+0 ;" +
      Repeated(33));
  for (std::string layout; std::getline(cases, layout, ';');) {
    std::vector<Display> displays(1);
    std::string problem;
    EXPECT_FALSE(ParseLayout(layout, displays, problem)) << layout;
    EXPECT_TRUE(displays.empty() && !problem.empty()) << layout;
  }
}

}  // namespace
}  // namespace qrv::desktop
