// What a process can be made to load from outside.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
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
    char name[] = "/tmp/qrv-decoys-XXXXXX";
    decoys_ = mkdtemp(name);
    fs::copy(QRV_BUILD_DIR "/libScreenshotPlatform.so", decoys_);
    fs::copy(QRV_BUILD_DIR "/ScreenshotQRV.so", decoys_);
    fs::copy(QRV_BUILD_DIR "/Frameworks", decoys_ / "Frameworks", fs::copy_options::recursive);
  }
  ~Trust() override { fs::remove_all(decoys_); }

  // What the probe finds, line by line, that runs amid decoys. Raised privileges: its effective
  // user is another one than its real user.
  std::multiset<std::string> Find(bool isRaised,
                                  const char* plugin = QRV_BUILD_DIR "/ScreenshotQRV.so") const {
    std::array<int, 2> ends = {};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t pid = fork();
    if (pid == 0) {
      dup2(ends[1], STDOUT_FILENO);
      setenv("QRV_DESKTOP", "virtual", 1);
      setenv("QRV_SYSTEM_VERSION", "10.4", 1);
      unsetenv("DISPLAY");
      if (isRaised) setenv("LD_LIBRARY_PATH", decoys_.c_str(), 1);
      if (chdir(decoys_.c_str()) == 0 && (!isRaised || setresuid(kNobody, 0, 0) == 0)) {
        execl(QRV_BUILD_DIR "/found_probe", "found_probe", plugin, nullptr);
      }
      _exit(127);
    }
    close(ends[1]);
    std::string text;
    char byte = 0;
    while (read(ends[0], &byte, 1) == 1) text += byte;
    close(ends[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0) << text;
    std::multiset<std::string> lines;
    std::istringstream stream(text);
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

  fs::path decoys_;
};

TEST_F(Trust, AWorkingDirectoryOfDecoysChangesNothing) {
  EXPECT_EQ(Find(false), With({"secure 0", "virtual desktop", "10.4"}));
}

TEST_F(Trust, ARelativePathAndALinkLeadToTheFilesThemselves) {
  fs::create_symlink(QRV_BUILD_DIR, decoys_ / "link");
  EXPECT_EQ(Find(false, "link/ScreenshotQRV.so"), With({"secure 0", "virtual desktop", "10.4"}));
}

TEST_F(Trust, AProcessWithRaisedPrivilegesHeedsNoVariable) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to be root to start a process with raised privileges";
  EXPECT_EQ(Find(true), With({"secure 1", "no desktop", "10.7"}));
}

}  // namespace
}  // namespace qrv::testing
