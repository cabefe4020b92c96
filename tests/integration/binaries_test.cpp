// What the built files show to the process that loads them, and what it can be made to load from
// outside.

#include <unistd.h>

#include <regex>

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

// The dynamic symbols that `nm` lists with that option, without the allowed ones.
std::string OtherSymbols(const char* option, const char* allowed) {
  const std::string symbols =
      RunProgram({"nm", "-D", option, QRV_BUILD_DIR "/ScreenshotQRV.so"}).output;
  const std::regex line(std::string(".* (") + allowed + ")(@.*)?\n");
  return std::regex_replace(symbols, line, "");
}

TEST(PluginBinary, ExportsItsEntryPointAlone) {
  EXPECT_EQ(OtherSymbols("--defined-only", "REALPluginMain"), "");
  EXPECT_NE(OtherSymbols("--defined-only", "none"), "");
}

TEST(PluginBinary, NeedsTheFrameworksAndAHandfulOfTheCLibraryOnly) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "a sanitized build needs the sanitizers";
#endif
  // The last few are what the linker and the C library's start-up files add to every shared object.
  EXPECT_EQ(OtherSymbols("--undefined-only",
                         "QRV_.*|malloc|calloc|free|memcpy|_ITM_.*|"
                         "__gmon_start__|__cxa_finalize|__stack_chk_fail"),
            "");
  EXPECT_NE(OtherSymbols("--undefined-only", "none").find("QRV_CGDisplayCreateImage"),
            std::string::npos);
}

TEST(Binaries, AreHardenedAsDistributionsBuildThem) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "a sanitized build is not installed";
#endif
  for (const char* file :
       {"ScreenshotQRV.so", "libScreenshotPlatform.so", "libScreenshotPortal.so", "qrvshot"}) {
    const std::string path = QRV_BUILD_DIR "/" + std::string(file);
    if (!std::filesystem::exists(path)) continue;  // not every build has it
    const std::string facts = RunProgram({"readelf", "-dlsW", path}).output;
    EXPECT_THAT(facts, ::testing::ContainsRegex("FLAGS_1.*NOW")) << file;
    EXPECT_THAT(facts, ::testing::HasSubstr("GNU_RELRO")) << file;
    EXPECT_THAT(facts, ::testing::ContainsRegex("GNU_STACK .* RW ")) << file;
    EXPECT_THAT(facts, ::testing::HasSubstr("__stack_chk_fail")) << file;
    EXPECT_EQ(facts.find(" PIE") != std::string::npos, file == std::string("qrvshot")) << file;
  }
}

}  // namespace
}  // namespace qrv::testing
