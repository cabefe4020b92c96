#include "platform/desktop/virtual/layout.h"

#include <gtest/gtest.h>

namespace qrv::desktop {
namespace {

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
