// What the built plug-in shows to the process that loads it.

#include <regex>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

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
