// A virtual desktop for tests of what stands on it.
#ifndef TESTS_UNIT_PLATFORM_COREGRAPHICS_DISPLAY_TEST_H_
#define TESTS_UNIT_PLATFORM_COREGRAPHICS_DISPLAY_TEST_H_

#include <ApplicationServices/CoreGraphics.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

class DisplayTest : public testing::Test {
 protected:
  // Shows the layout and returns its displays' identifiers, main display first.
  static std::vector<CGDirectDisplayID> Show(const std::string& layout) {
    setenv("QRV_DESKTOP", ("virtual:" + layout).c_str(), 1);
    std::vector<CGDirectDisplayID> displays(32);
    CGDisplayCount count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(32, displays.data(), &count), kCGErrorSuccess);
    displays.resize(count);
    return displays;
  }

  static void ShowNoDesktop() {
    setenv("QRV_DESKTOP", "none of the desktops", 1);
    EXPECT_EQ(CGMainDisplayID(), kCGNullDirectDisplay);
  }

  ~DisplayTest() override {
    unsetenv("QRV_DESKTOP");
    unsetenv("QRV_SYSTEM_VERSION");
  }
};

#endif  // TESTS_UNIT_PLATFORM_COREGRAPHICS_DISPLAY_TEST_H_
