#include "cli/parse_values.h"

#include <gtest/gtest.h>

namespace qrv::cli {
namespace {

TEST(ParseRect, TakesAnyFourIntegersOf32Bits) {
  const auto rect = ParseRect("-2147483648,2147483647,0,-1");
  ASSERT_TRUE(rect.has_value());
  EXPECT_EQ(rect->left, INT32_MIN);
  EXPECT_EQ(rect->top, INT32_MAX);
  EXPECT_EQ(rect->width, 0);
  EXPECT_EQ(rect->height, -1);
}

TEST(ParseRect, RefusesEverythingElse) {
  for (const char* text : {"", "1,2,3", "1,2,3,4,5", "1,2,3,", ",1,2,3", "1, 2,3,4", "a,b,c,d",
                           "1,2,3,4 ", "1,2,3,2147483648", "1.5,2,3,4", "+1,2,3,4", "0x1,2,3,4"}) {
    EXPECT_FALSE(ParseRect(text).has_value()) << text;
  }
}

TEST(ParseSize, TakesTwoIntegersWithAnXBetween) {
  const auto size = ParseSize("640x-480");
  ASSERT_TRUE(size.has_value());
  EXPECT_EQ(size->width, 640);
  EXPECT_EQ(size->height, -480);
  for (const char* text : {"", "640", "640x", "x480", "640x480x1", "640,480", "640 x 480"}) {
    EXPECT_FALSE(ParseSize(text).has_value()) << text;
  }
}

TEST(ParseHostVersion, TakesFiniteNumbersOnly) {
  EXPECT_EQ(ParseHostVersion("2013.03"), 2013.03);
  EXPECT_EQ(ParseHostVersion("0"), 0.0);
  for (const char* text : {"", "inf", "nan", "-1", "2013.03x", "1e999"}) {
    EXPECT_FALSE(ParseHostVersion(text).has_value()) << text;
  }
}

TEST(SystemVersion, IsMajorAndMinor) {
  EXPECT_TRUE(IsSystemVersion("10.7"));
  for (const char* text : {"", "10", "10.", ".7", "10.7.5", "ten.seven", "-10.7"}) {
    EXPECT_FALSE(IsSystemVersion(text)) << text;
  }
}

}  // namespace
}  // namespace qrv::cli
