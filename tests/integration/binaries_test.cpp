// What the built plug-in shows to the process that loads it.

#include <regex>
#include <set>
#include <sstream>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

// The dynamic symbols that `nm` lists with that option.
std::set<std::string> Symbols(const char* option) {
  std::istringstream lines(
      RunProgram({"nm", "-D", option, QRV_BUILD_DIR "/ScreenshotQRV.so"}).output);
  std::set<std::string> symbols;
  for (std::string line; std::getline(lines, line);) {
    const std::string symbol = line.substr(line.find_last_of(' ') + 1);
    symbols.insert(symbol.substr(0, symbol.find('@')));
  }
  return symbols;
}

TEST(PluginBinary, ExportsItsEntryPointAlone) {
  EXPECT_EQ(Symbols("--defined-only"), std::set<std::string>{"REALPluginMain"});
}

TEST(PluginBinary, NeedsTheFrameworksAndAHandfulOfTheCLibraryOnly) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "a sanitized build needs the sanitizers";
#endif
  // The last few are what the linker and the C library's start-up files add to every shared object.
  const std::regex allowed(
      "QRV_.*|malloc|calloc|free|memcpy|_ITM_.*|__gmon_start__|__cxa_finalize|__stack_chk_fail");
  const std::set<std::string> symbols = Symbols("--undefined-only");
  EXPECT_TRUE(symbols.contains("QRV_CGDisplayCreateImage"));
  for (const std::string& symbol : symbols) {
    EXPECT_TRUE(std::regex_match(symbol, allowed)) << symbol;
  }
}

}  // namespace
}  // namespace qrv::testing
