#include "platform/coreservices/system_version.h"

#include <CoreServices/CoreServices.h>
#include <gtest/gtest.h>

#include <cstdlib>

using qrv::coreservices::SystemVersion;
using qrv::coreservices::Version;

namespace {

TEST(SystemVersion, IsReadFromTheEnvironmentAtEveryUse) {
  struct Case {
    const char* text;
    Version version;
  };
  const Case cases[] = {{"10.4", {10, 4}},  {"10.10", {10, 10}}, {"11.0", {11, 0}},
                        {"", {10, 7}},      {"10", {10, 7}},     {"10.", {10, 7}},
                        {".6", {10, 7}},    {"10.6.8", {10, 7}}, {"-10.6", {10, 7}},
                        {"10.-6", {10, 7}}, {" 10.6", {10, 7}},  {"10.99999999999", {10, 7}}};
  for (const Case& each : cases) {
    setenv("QRV_SYSTEM_VERSION", each.text, 1);
    EXPECT_EQ(SystemVersion().major, each.version.major) << each.text;
    EXPECT_EQ(SystemVersion().minor, each.version.minor) << each.text;
  }
  unsetenv("QRV_SYSTEM_VERSION");
  EXPECT_EQ(SystemVersion().minor, 7);
}

TEST(Gestalt, TellsTheSystemVersionInTwoNumbers) {
  setenv("QRV_SYSTEM_VERSION", "11.3", 1);
  SInt32 response = 0;
  EXPECT_EQ(Gestalt(gestaltSystemVersionMajor, &response), noErr);
  EXPECT_EQ(response, 11);
  EXPECT_EQ(Gestalt(gestaltSystemVersionMinor, &response), noErr);
  EXPECT_EQ(response, 3);
}

TEST(Gestalt, LeavesTheResponseAloneForOtherSelectors) {
  SInt32 response = 99;
  EXPECT_EQ(Gestalt(0x73797376, &response), gestaltUndefSelectorErr);
  EXPECT_EQ(response, 99);
}

}  // namespace
