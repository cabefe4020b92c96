#include <ApplicationServices/CoreGraphics.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr CGFloat kInfinity = std::numeric_limits<CGFloat>::infinity();
constexpr CGFloat kNaN = std::numeric_limits<CGFloat>::quiet_NaN();
constexpr CGRect kMain = {{0, 0}, {1440, 900}};

void ExpectRect(CGRect rect, CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
  EXPECT_EQ(rect.origin.x, x);
  EXPECT_EQ(rect.origin.y, y);
  EXPECT_EQ(rect.size.width, width);
  EXPECT_EQ(rect.size.height, height);
}

TEST(CGRectIntersection, IsTheCommonPart) {
  ExpectRect(CGRectIntersection(kMain, {{1400, -100}, {100, 150}}), 1400, 0, 40, 50);
}

TEST(CGRectIntersection, TurnsNegativeSizesRound) {
  ExpectRect(CGRectIntersection({{50, 60}, {-100, -70}}, kMain), 0, 0, 50, 60);
}

TEST(CGRectIntersection, IsNullWhenNothingIsCommon) {
  const CGRect cases[] = {
      {{1440, 0}, {100, 100}},           // touches the right edge
      {{0, 900}, {100, 100}},            // touches the bottom edge
      {{-100, -100}, {100, 100}},        // touches the corner
      {{2000, 2000}, {10, 10}},          // far away
      {{10, 10}, {0, 10}},               // has no width
      {{kInfinity, kInfinity}, {0, 0}},  // null itself
      {{kNaN, 0}, {10, 10}},
      {{0, 0}, {10, kNaN}},
  };
  for (const CGRect& each : cases) {
    EXPECT_TRUE(CGRectIsNull(CGRectIntersection(kMain, each))) << each.origin.x;
    EXPECT_TRUE(CGRectIsNull(CGRectIntersection(each, kMain))) << each.origin.x;
  }
}

TEST(CGRectIntersection, CopesWithTheLargestRectangles) {
  constexpr CGFloat kMax = std::numeric_limits<float>::max();
  ExpectRect(CGRectIntersection(kMain, {{-kMax / 2, -kMax / 2}, {kMax, kMax}}), 0, 0, 1440, 900);
}

}  // namespace
