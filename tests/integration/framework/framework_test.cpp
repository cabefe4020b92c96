// QuickDraw's framework as the plug-in finds it on disk: missing, broken, incomplete, and there
// after all. The test program, the plug-in and the platform's library lie in a folder of their own,
// in which each test makes the frameworks folder.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>

#include "runtime/host.h"
#include "tests/integration/footprint.h"
#include "tests/support/process.h"

namespace qrv::testing {
namespace {

namespace fs = std::filesystem;
namespace methods = runtime::methods;

class Framework : public ::testing::Test {
 protected:
  Framework() {
    setenv("QRV_DESKTOP", "virtual:40x30+0+0", 1);
    setenv("QRV_SYSTEM_VERSION", "10.4", 1);  // QuickDraw alone is left
    fs::remove_all(frameworks_);
    std::string error;
    EXPECT_TRUE(host_.LoadPlugin(folder_ / "ScreenshotQRV.so", error)) << error;
  }
  ~Framework() override { fs::remove_all(frameworks_); }

  // Makes the framework's folder and returns its executable's path.
  fs::path MakeFolder() {
    fs::create_directories(executable_.parent_path());
    return executable_;
  }

  void Install() { fs::copy_file(QRV_QUICKDRAW_LIBRARY, MakeFolder()); }

  // Calls the three methods that use QuickDraw; how many gave a picture.
  int Pictures() {
    REALpictureStruct* pictures[] = {
        host_.Call(methods::kScreenshot), host_.Call(methods::kScreenshotDisplay, 0),
        host_.Call(methods::kScreenshotRectScaled, 1, 2, 20, 10, 30, 20)};
    int made = 0;
    for (REALpictureStruct* picture : pictures) {
      if (picture == nullptr) continue;
      ++made;
      host_.Release(picture);
    }
    EXPECT_EQ(host_.Outstanding(), runtime::Ledger{});
    return made;
  }

  fs::path folder_ = fs::read_symlink("/proc/self/exe").parent_path();
  fs::path frameworks_ = folder_ / "Frameworks";
  fs::path executable_ = frameworks_ / "ApplicationServices.framework" / "ApplicationServices";
  runtime::Host host_{runtime::HostOptions{}};
};

TEST_F(Framework, IsFoundOnceItIsThereWhateverWasInItsPlace) {
  const std::function<void()> places[] = {
      [] {}, [this] { MakeFolder(); }, [this] { std::ofstream(MakeFolder()) << "not a library"; },
      [this] { fs::create_directories(executable_); },  // nobody, not even root, loads a folder
  };
  for (const auto& make : places) {
    make();
    EXPECT_EQ(Pictures(), 0) << &make - places;
    fs::remove_all(frameworks_);
  }
  Install();
  EXPECT_EQ(Pictures(), 3);
}

// A library that has no QuickDraw function stands for one that lacks any of them.
TEST_F(Framework, ThatLacksTheFunctionsYieldsNothing) {
  fs::copy_file(folder_ / "libScreenshotPlatform.so", MakeFolder());
  EXPECT_EQ(Pictures(), 0);
}

TEST_F(Framework, ThatStaysAwayLeavesNothingBehind) {
  for (int i = 0; i < 100; ++i) Pictures();
  const Footprint before = Footprint::Now();
  for (int i = 0; i < 3300; ++i) ASSERT_EQ(Pictures(), 0);
  const Footprint now = Footprint::Now();
  EXPECT_EQ(Difference(now, before), "");
  EXPECT_EQ(now.mappings, before.mappings);
}

TEST_F(Framework, IsNotLookedForAnywhereElse) {
  // A folder of the right name in the working directory and in the usual search paths.
  const ScratchFolder elsewhere;
  const fs::path decoy = elsewhere.path() / "Frameworks/ApplicationServices.framework";
  fs::create_directories(decoy);
  fs::copy_file(QRV_QUICKDRAW_LIBRARY, decoy / "ApplicationServices");
  setenv("LD_LIBRARY_PATH", decoy.c_str(), 1);
  const fs::path before = fs::current_path();
  fs::current_path(elsewhere.path());
  EXPECT_EQ(Pictures(), 0);
  fs::current_path(before);
}

}  // namespace
}  // namespace qrv::testing
