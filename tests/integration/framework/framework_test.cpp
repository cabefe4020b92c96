// QuickDraw's framework as the plug-in finds it on disk: missing, broken, incomplete, and there
// after all. The test program, the plug-in and the platform's library lie in a folder of their own,
// in which each test makes the frameworks folder.

#include <fstream>

#include "tests/integration/plugin.h"
#include "tests/support/holdings.h"

namespace qrv::testing {
namespace {

namespace fs = std::filesystem;

class Framework : public ::testing::Test {
 protected:
  // With frameworks where they are not to be looked for: in the working directory and in the usual
  // search paths.
  Framework() {
    UseDesktop("virtual:40x30+0+0");
    UseSystem(kQuickDraw);
    fs::remove_all(frameworks_);
    const fs::path decoy = elsewhere_.path() / "Frameworks/ApplicationServices.framework";
    fs::create_directories(decoy);
    fs::copy_file(QRV_QUICKDRAW_LIBRARY, decoy / "ApplicationServices");
    setenv("LD_LIBRARY_PATH", decoy.c_str(), 1);
    fs::current_path(elsewhere_.path());
  }
  ~Framework() override {
    fs::remove_all(frameworks_);
    fs::current_path(folder_);
  }

  // How many of the three methods that use QuickDraw give a picture.
  int Pictures() {
    return plugin_.Main().has_value() + plugin_.Display(0).has_value() +
           plugin_.Scaled({1, 2, 20, 10}, 30, 20).has_value();
  }

  const ScratchFolder elsewhere_;
  const fs::path folder_ = fs::read_symlink("/proc/self/exe").parent_path();
  const fs::path frameworks_ = folder_ / "Frameworks";
  const fs::path executable_ = frameworks_ / "ApplicationServices.framework/ApplicationServices";
  Plugin plugin_{{}, folder_ / "ScreenshotQRV.so"};
};

TEST_F(Framework, IsFoundOnceItIsThereWhateverWasInItsPlace) {
  EXPECT_EQ(Pictures(), 0);
  fs::create_directories(executable_.parent_path());
  EXPECT_EQ(Pictures(), 0);
  std::ofstream(executable_) << "not a library";
  EXPECT_EQ(Pictures(), 0);
  fs::remove(executable_);
  fs::create_directory(executable_);  // nobody, not even root, loads a folder
  EXPECT_EQ(Pictures(), 0);
  fs::remove(executable_);
  fs::copy_file(QRV_QUICKDRAW_LIBRARY, executable_);
  EXPECT_EQ(Pictures(), 3);
}

// A library that has no QuickDraw function stands for one that lacks any of them.
TEST_F(Framework, ThatLacksTheFunctionsYieldsNothing) {
  fs::create_directories(executable_.parent_path());
  fs::copy_file(folder_ / "libScreenshotPlatform.so", executable_);
  EXPECT_EQ(Pictures(), 0);
}

TEST_F(Framework, ThatStaysAwayLeavesNothingBehind) {
  for (int i = 0; i < 100; ++i) Pictures();
  const Holdings before;
  const auto stateBefore = SignalsAndThreads();
  for (int i = 0; i < 3300; ++i) ASSERT_EQ(Pictures(), 0);
  const Holdings now;
  EXPECT_THAT(now.files, ::testing::ContainerEq(before.files));
  EXPECT_EQ(now.mappedFiles, before.mappedFiles);
  EXPECT_EQ(SignalsAndThreads(), stateBefore);
}

}  // namespace
}  // namespace qrv::testing
