#include <optional>

#include "tests/unit/platform/coregraphics/display_test.h"

namespace {

constexpr CGDirectDisplayID kUnknown = 0x7FFFFFFF;

class Displays : public DisplayTest {
 protected:
  // A number of the display's current mode, or nothing.
  static std::optional<SInt32> ModeNumber(CGDirectDisplayID display, CFStringRef key) {
    const CFDictionaryRef mode = CGDisplayCurrentMode(display);
    if (mode == nullptr) return std::nullopt;
    const auto number = static_cast<CFNumberRef>(CFDictionaryGetValue(mode, key));
    SInt32 value = 0;
    if (number == nullptr || !CFNumberGetValue(number, kCFNumberSInt32Type, &value)) {
      return std::nullopt;
    }
    return value;
  }
};

TEST_F(Displays, AreListedMainDisplayFirst) {
  const auto displays = Show("1440x900+0+0,1280x1024+1440+0");
  ASSERT_EQ(displays.size(), 2U);
  EXPECT_EQ(CGMainDisplayID(), displays[0]);
  EXPECT_NE(displays[1], displays[0]);
}

TEST_F(Displays, CannotBeListedWithoutADesktop) {
  ShowNoDesktop();
  CGDirectDisplayID display = kUnknown;
  CGDisplayCount count = 99;
  EXPECT_NE(CGGetActiveDisplayList(1, &display, &count), kCGErrorSuccess);
  EXPECT_EQ(count, 0U);
}

TEST_F(Displays, TellTheirBoundsInUnits) {
  const auto displays = Show("1440x900+0+0,640x480-640-100*2");
  const CGRect bounds = CGDisplayBounds(displays[1]);
  EXPECT_EQ(bounds.origin.x, -640);
  EXPECT_EQ(bounds.origin.y, -100);
  EXPECT_EQ(bounds.size.width, 640);
  EXPECT_EQ(bounds.size.height, 480);
}

TEST_F(Displays, TellTheSamplesOfTheirModes) {
  const auto displays = Show("64x64+0+0@32,64x64+64+0@16,64x64+128+0@8");
  constexpr SInt32 kSamples[] = {3, 3, 1};
  constexpr SInt32 kBits[] = {8, 5, 8};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(ModeNumber(displays[i], CFSTR("SamplesPerPixel")), kSamples[i]) << i;
    EXPECT_EQ(ModeNumber(displays[i], CFSTR("BitsPerSample")), kBits[i]) << i;
  }
}

TEST_F(Displays, TellNoSamplesOnTheOldestSystem) {
  const CGDirectDisplayID display = Show("64x64+0+0")[0];
  setenv("QRV_SYSTEM_VERSION", "10.4", 1);
  EXPECT_NE(CGDisplayCurrentMode(display), nullptr);
  EXPECT_EQ(ModeNumber(display, CFSTR("SamplesPerPixel")), std::nullopt);
  EXPECT_EQ(ModeNumber(display, CFSTR("BitsPerSample")), std::nullopt);
  setenv("QRV_SYSTEM_VERSION", "10.5", 1);
  EXPECT_EQ(ModeNumber(display, CFSTR("SamplesPerPixel")), 3);
}

TEST_F(Displays, HaveNothingForAnUnknownIdentifier) {
  Show("64x64+0+0");
  for (const CGDirectDisplayID display : {CGDirectDisplayID{kCGNullDirectDisplay}, kUnknown}) {
    EXPECT_EQ(CGDisplayBounds(display).size.width, 0);
    EXPECT_EQ(CGDisplayCurrentMode(display), nullptr);
    EXPECT_EQ(CGDisplayIDToOpenGLDisplayMask(display), 0U);
    EXPECT_EQ(CGDisplayCreateImage(display), nullptr);
    EXPECT_EQ(CGDisplayCreateImageForRect(display, {{0, 0}, {10, 10}}), nullptr);
  }
}

TEST_F(Displays, HaveOneBitOfTheirOwnEachAndKeepIt) {
  std::string layout = "10x10+0+0";
  for (int i = 1; i < 32; ++i) layout += ",10x10+" + std::to_string(i * 10) + "+0";
  const auto displays = Show(layout);
  CGOpenGLDisplayMask all = 0;
  for (const CGDirectDisplayID display : displays) all |= CGDisplayIDToOpenGLDisplayMask(display);
  EXPECT_EQ(all, 0xFFFFFFFFU);
  const CGOpenGLDisplayMask mask = CGDisplayIDToOpenGLDisplayMask(displays[20]);
  EXPECT_EQ(mask & (mask - 1), 0U);
  EXPECT_EQ(CGDisplayIDToOpenGLDisplayMask(displays[20]), mask);
}

}  // namespace
