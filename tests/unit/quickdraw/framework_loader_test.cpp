#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class FrameworkLoader : public PluginTest {
 protected:
  REALpictureStruct* Capture() {
    return host->Call(runtime::methods::kScreenshotRectScaled, 0, 0, 5, 5, 5, 5);
  }
};

TEST_F(FrameworkLoader, GivesEveryFailedStepBackTriesAgainAndLoadsTheFrameworkOnce) {
  for (const char* step :
       {"FSFindFolder", "CFURLCreateFromFSRef", "CFURLCreateCopyAppendingPathComponent",
        "CFBundleCreate", "CFBundleLoadExecutable"}) {
    layer.refused = {step};
    ClearRecord();
    EXPECT_EQ(Capture(), nullptr) << step;
    // For the list of devices, and for the world.
    EXPECT_EQ(layer.CallsOf("FSFindFolder"), 2) << step;
    EXPECT_EQ(Problems(), "") << step;
  }
  layer.refused.clear();
  layer.missing = {"NewGWorld"};
  ClearRecord();
  EXPECT_EQ(Capture(), nullptr);
  layer.missing.clear();
  ExpectShows(Capture(), kQuickDraw, {0, 0, 5, 5});
  EXPECT_EQ(layer.CallsOf("CFBundleLoadExecutable"), 1);
}

}  // namespace
}  // namespace qrv::passthrough
