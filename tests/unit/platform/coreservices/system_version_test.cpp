#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(Gestalt, TellsTheSystemVersionOfTheEnvironmentInTwoNumbers) {
  struct {
    const char* text;
    int major, minor;  // 0 when it is none
  } const cases[] = {{"10.4", 10, 4},         {"10.10", 10, 10}, {"11.3", 11, 3}, {"", 10, 7},
                     {"foo", 0, 0},           {"10", 0, 0},      {"10.", 0, 0},   {".6", 0, 0},
                     {"10.6.8", 0, 0},        {"-10.6", 0, 0},   {"10.-6", 0, 0}, {" 10.6", 0, 0},
                     {"10.99999999999", 0, 0}};
  for (const auto& [text, major, minor] : cases) {
    setenv("QRV_SYSTEM_VERSION", text, 1);
    SInt32 response = 0;
    EXPECT_EQ(Gestalt(gestaltSystemVersionMajor, &response) == noErr, major != 0) << text;
    EXPECT_EQ(response, major) << text;
    response = 0;
    EXPECT_EQ(Gestalt(gestaltSystemVersionMinor, &response) == noErr, major != 0) << text;
    EXPECT_EQ(response, minor) << text;
  }
  unsetenv("QRV_SYSTEM_VERSION");
  SInt32 response = 0;
  EXPECT_EQ(Gestalt(gestaltSystemVersionMinor, &response), noErr);
  EXPECT_EQ(response, 7);
}

}  // namespace
