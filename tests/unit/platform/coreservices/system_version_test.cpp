#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

namespace {

TEST(Gestalt, TellsTheSystemVersionOfTheEnvironmentInTwoNumbers) {
  struct {
    const char* text;
    int major, minor;  // 0 when it is none
  } const cases[] = {{"10.4", 10, 4},  {"10.10", 10, 10},
                     {"11.3", 11, 3},  {"", 10, 7},
                     {"foo", 0, 0},    {"10", 0, 0},
                     {"10.", 0, 0},    {".6", 0, 0},
                     {"10.6.8", 0, 0}, {"-10.6", 0, 0},
                     {"10.-6", 0, 0},  {" 10.6", 0, 0},
                     {nullptr, 10, 7}, {"10.99999999999", 0, 0}};
  for (const auto& [text, major, minor] : cases) {
    text != nullptr ? setenv("QRV_SYSTEM_VERSION", text, 1) : unsetenv("QRV_SYSTEM_VERSION");
    SInt32 actualMajor = 0, actualMinor = 0;
    EXPECT_EQ(Gestalt(gestaltSystemVersionMajor, &actualMajor) == noErr, major != 0) << text;
    EXPECT_EQ(Gestalt(gestaltSystemVersionMinor, &actualMinor) == noErr, major != 0) << text;
    EXPECT_EQ(std::pair(actualMajor, actualMinor), std::pair(major, minor)) << text;
  }
}

}  // namespace
