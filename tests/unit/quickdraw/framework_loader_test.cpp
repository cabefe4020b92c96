#include "quickdraw/framework_loader.h"

#include "quickdraw/quickdraw.h"
#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

class FrameworkLoader : public PluginTest {};

TEST_F(FrameworkLoader, GivesEveryFailedStepBackAndTriesAgain) {
  for (const char* step :
       {"FSFindFolder", "CFURLCreateFromFSRef", "CFURLCreateCopyAppendingPathComponent",
        "CFBundleCreate", "CFBundleLoadExecutable"}) {
    stage.refused = {step};
    EXPECT_EQ(GetDeviceList(), nullptr) << step;
    EXPECT_EQ(NewGWorld(nullptr, 32, nullptr, nullptr, nullptr, 0), kQuickDrawUnbound);
    EXPECT_EQ(CallsOf({"FSFindFolder"}).size(), 2U) << step;
    ExpectNothingHeld();
    stage.ClearRecord();
  }
  stage.refused.clear();
  EXPECT_NE(GetDeviceList(), nullptr);
}

TEST_F(FrameworkLoader, LoadsTheFrameworkOnceAndLooksEachFunctionUpUntilItIsFound) {
  stage.missing = {"GetMainDevice"};
  EXPECT_EQ(GetMainDevice(), nullptr);
  EXPECT_EQ(GetMainDevice(), nullptr);
  EXPECT_NE(GetDeviceList(), nullptr);
  EXPECT_NE(GetDeviceList(), nullptr);
  stage.missing.clear();
  EXPECT_NE(GetMainDevice(), nullptr);
  EXPECT_NE(GetMainDevice(), nullptr);
  EXPECT_THAT(
      CallsOf({"look up", "CFBundleLoadExecutable"}),
      ElementsAre("CFBundleLoadExecutable", "look up GetMainDevice", "look up GetMainDevice",
                  "look up GetDeviceList", "look up GetMainDevice"));
}

}  // namespace
}  // namespace qrv::fakes
