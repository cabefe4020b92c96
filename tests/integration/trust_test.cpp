// What a process can be made to load from outside.

#include <unistd.h>

#include <set>
#include <sstream>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kNobody = 65534;

class Trust : public ::testing::Test {
 protected:
  Trust() {
    fs::copy(QRV_BUILD_DIR "/libScreenshotPlatform.so", decoys_.path());
    fs::copy(QRV_BUILD_DIR "/ScreenshotQRV.so", decoys_.path());
    fs::copy(QRV_BUILD_DIR "/Frameworks", decoys_.File("Frameworks"), fs::copy_options::recursive);
  }

  // What the probe finds, line by line, that runs amid decoys. Raised privileges: its effective
  // user is another one than its real user.
  std::multiset<std::string> Find(bool isRaised,
                                  const char* plugin = QRV_BUILD_DIR "/ScreenshotQRV.so") const {
    const Outcome outcome = RunProgram({QRV_BUILD_DIR "/found_probe", plugin}, [&] {
      setenv("QRV_DESKTOP", "virtual", 1);
      setenv("QRV_SYSTEM_VERSION", "10.4", 1);
      unsetenv("DISPLAY");
      if (isRaised) setenv("LD_LIBRARY_PATH", decoys_.path().c_str(), 1);
      return chdir(decoys_.path().c_str()) == 0 && (!isRaised || setresuid(kNobody, 0, 0) == 0);
    });
    EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
    std::multiset<std::string> lines;
    std::istringstream stream(outcome.output);
    for (std::string line; std::getline(stream, line);) lines.insert(line);
    return lines;
  }

  static std::multiset<std::string> With(std::multiset<std::string> lines) {
    for (const char* file : {"/ScreenshotQRV.so", "/libScreenshotPlatform.so",
                             "/Frameworks/ApplicationServices.framework/ApplicationServices"}) {
      lines.insert(fs::canonical(QRV_BUILD_DIR).string() + file);
    }
    return lines;
  }

  const ScratchFolder decoys_;
};

TEST_F(Trust, AWorkingDirectoryOfDecoysChangesNothing) {
  EXPECT_EQ(Find(false), With({"secure 0", "the virtual desktop", "10.4"}));
}

TEST_F(Trust, ARelativePathAndALinkLeadToTheFilesThemselves) {
  fs::create_symlink(QRV_BUILD_DIR, decoys_.File("link"));
  EXPECT_EQ(Find(false, "link/ScreenshotQRV.so"),
            With({"secure 0", "the virtual desktop", "10.4"}));
}

TEST_F(Trust, AProcessWithRaisedPrivilegesHeedsNoVariable) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to be root to start a process with raised privileges";
  EXPECT_EQ(Find(true), With({"secure 1", "no desktop", "10.7"}));
}

}  // namespace
}  // namespace qrv::testing
