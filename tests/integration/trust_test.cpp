// What a process can be made to load from outside.

#include <unistd.h>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

class Trust : public ::testing::Test {
 protected:
  Trust() {
    for (const char* file : {"libScreenshotPlatform.so", "ScreenshotQRV.so", "Frameworks"}) {
      fs::copy(fs::path(QRV_BUILD_DIR) / file, decoys_.path() / file, fs::copy_options::recursive);
    }
    fs::create_symlink(QRV_BUILD_DIR, decoys_.File("link"));
  }

  // The probe, which runs amid decoys, finds that and the product's files. Raised privileges: its
  // effective user is another one than its real user.
  void ExpectToFind(const std::string& environment, bool isRaised, const char* plugin) const {
    const Outcome outcome = RunProgram({QRV_BUILD_DIR "/found_probe", plugin}, [&] {
      setenv("QRV_DESKTOP", "virtual", 1);
      setenv("QRV_SYSTEM_VERSION", "10.4", 1);
      unsetenv("DISPLAY");
      if (isRaised) setenv("LD_LIBRARY_PATH", decoys_.path().c_str(), 1);
      return chdir(decoys_.path().c_str()) == 0 && (!isRaised || setresuid(kNobody, 0, 0) == 0);
    });
    const std::string folder = fs::canonical(QRV_BUILD_DIR).string();
    EXPECT_EQ(outcome.output, environment + folder + "/ScreenshotQRV.so\n" + folder +
                                  "/libScreenshotPlatform.so\n");
    EXPECT_EQ(outcome.exitCode, 0);
  }

  const ScratchFolder decoys_;
};

// Nor does a path that is relative to it, through a link.
TEST_F(Trust, AWorkingDirectoryOfDecoysChangesNothing) {
  for (const char* plugin : {QRV_BUILD_DIR "/ScreenshotQRV.so", "link/ScreenshotQRV.so"}) {
    ExpectToFind("secure 0\nthe virtual desktop\n10.4\n", false, plugin);
  }
}

TEST_F(Trust, AProcessWithRaisedPrivilegesHeedsNoVariable) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to be root to start a process with raised privileges";
  ExpectToFind("secure 1\nno desktop\n10.7\n", true, QRV_BUILD_DIR "/ScreenshotQRV.so");
}

}  // namespace
}  // namespace qrv::testing
