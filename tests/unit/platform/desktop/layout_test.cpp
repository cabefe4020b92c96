#include "platform/desktop/layout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qrv::desktop {
namespace {

std::vector<Display> Parse(const std::string& layout) {
  std::vector<Display> displays;
  std::string problem;
  EXPECT_TRUE(ParseLayout(layout, displays, problem)) << layout << ": " << problem;
  return displays;
}

std::string ProblemOf(const std::string& layout) {
  std::vector<Display> displays(1);
  std::string problem;
  EXPECT_FALSE(ParseLayout(layout, displays, problem)) << layout;
  EXPECT_TRUE(displays.empty()) << layout;
  return problem;
}

void ExpectBounds(const Display& display, const PixelRect& bounds) {
  EXPECT_EQ(display.bounds.x, bounds.x);
  EXPECT_EQ(display.bounds.y, bounds.y);
  EXPECT_EQ(display.bounds.width, bounds.width);
  EXPECT_EQ(display.bounds.height, bounds.height);
}

std::string Repeated(int count) {
  std::string layout = "1x1+0+0";
  for (int i = 1; i < count; ++i) layout += ",1x1+" + std::to_string(i) + "+0";
  return layout;
}

TEST(Layout, HasTwoDisplaysWhenNoneIsGiven) {
  const std::vector<Display> displays = Parse(std::string(kDefaultLayout));
  ASSERT_EQ(displays.size(), 2U);
  ExpectBounds(displays[0], {0, 0, 1440, 900});
  ExpectBounds(displays[1], {1440, 0, 1280, 1024});
  EXPECT_NE(displays[0].id, 0U);
  EXPECT_NE(displays[0].id, displays[1].id);
}

TEST(Layout, TakesNegativePositionsInBothSpellings) {
  const std::vector<Display> displays = Parse("10x10+0+0,20x30-20+-30,40x50+-40-50");
  ASSERT_EQ(displays.size(), 3U);
  ExpectBounds(displays[1], {-20, -30, 20, 30});
  ExpectBounds(displays[2], {-40, -50, 40, 50});
}

TEST(Layout, IsMovedSoThatTheFirstDisplayIsAtTheOrigin) {
  const std::vector<Display> displays = Parse("10x10+100-7,20x20+0+0");
  ASSERT_EQ(displays.size(), 2U);
  ExpectBounds(displays[0], {0, 0, 10, 10});
  ExpectBounds(displays[1], {-100, 7, 20, 20});
}

TEST(Layout, DescribesThePixelsOfEachDepth) {
  struct {
    const char* layout;
    int bitsPerPixel, bitsPerSample, samplesPerPixel, quickDrawPixelSize;
  } const cases[] = {{"1x1+0+0", 32, 8, 3, 32},
                     {"1x1+0+0@32", 32, 8, 3, 32},
                     {"1x1+0+0@16", 16, 5, 3, 16},
                     {"1x1+0+0@8", 8, 8, 1, 8}};
  for (const auto& each : cases) {
    const std::vector<Display> displays = Parse(each.layout);
    ASSERT_EQ(displays.size(), 1U);
    EXPECT_EQ(displays[0].bitsPerPixel, each.bitsPerPixel) << each.layout;
    EXPECT_EQ(displays[0].bitsPerSample, each.bitsPerSample) << each.layout;
    EXPECT_EQ(displays[0].samplesPerPixel, each.samplesPerPixel) << each.layout;
    EXPECT_EQ(displays[0].quickDrawPixelSize, each.quickDrawPixelSize) << each.layout;
  }
}

TEST(Layout, GivesAScaledDisplayMorePixelsThanUnits) {
  for (const char* layout : {"720x450+0+0*2@16", "720x450+0+0@16*2"}) {
    const std::vector<Display> displays = Parse(layout);
    ASSERT_EQ(displays.size(), 1U);
    ExpectBounds(displays[0], {0, 0, 720, 450});
    EXPECT_EQ(displays[0].pixelWidth, 1440);
    EXPECT_EQ(displays[0].pixelHeight, 900);
    EXPECT_EQ(displays[0].bitsPerPixel, 16);
  }
}

TEST(Layout, ReachesItsLimits) {
  EXPECT_EQ(Parse("32767x32767-32767+32767").size(), 1U);
  EXPECT_EQ(Parse("8191x1+0+0*4").size(), 1U);
  EXPECT_EQ(Parse(Repeated(32)).size(), 32U);
}

TEST(Layout, RefusesWhatBreaksTheGrammar) {
  const std::string cases[] = {"",
                               ",",
                               "10",
                               "10x10",
                               "10x10+0",
                               "10x10+0+0,",
                               ",10x10+0+0",
                               "x10+0+0",
                               "10x+0+0",
                               "10X10+0+0",
                               "10x10++0+0",
                               "10x10--1+0",
                               "10x10-+1+0",
                               "10x10+0+0 ",
                               " 10x10+0+0",
                               "10x10+0+0@",
                               "10x10+0+0@24",
                               "10x10+0+0@8@8",
                               "10x10+0+0*",
                               "10x10+0+0*0",
                               "10x10+0+0*5",
                               "10x10+0+0*2*2",
                               "10x10+0+0!",
                               "-10x10+0+0",
                               "0x10+0+0",
                               "10x0+0+0",
                               "32768x1+0+0",
                               "1x32768+0+0",
                               "16384x1+0+0*2",
                               "1x1+32768+0",
                               "1x1+0-32768",
                               "100000x1+0+0",
                               "99999999999999999999x1+0+0",
                               "1x1+4294967296+0",
                               "1x1+0+0@08*",
                               Repeated(33)};
  for (const std::string& layout : cases) EXPECT_NE(ProblemOf(layout), "") << layout;
}

TEST(Layout, NamesTheEntryThatIsWrong) {
  EXPECT_EQ(ProblemOf("10x10+0+0,12x"), "layout entry 2 '12x': expected WIDTHxHEIGHT+X+Y");
}

TEST(Layout, DoesNotRepeatControlCharactersOrEndlessEntries) {
  const std::string problem = ProblemOf("1x1+0+0\n\x1b" + std::string(1000, 'a'));
  EXPECT_EQ(problem.find_first_of("\n\x1b"), std::string::npos);
  EXPECT_LT(problem.size(), 200U);
}

}  // namespace
}  // namespace qrv::desktop
