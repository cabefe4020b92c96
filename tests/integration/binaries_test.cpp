// What the built files show to the process that loads them.

#include <dlfcn.h>

#include <array>
#include <cstdio>
#include <memory>
#include <regex>
#include <set>

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

// The dynamic symbols that `nm` lists with these arguments.
std::set<std::string> Symbols(const std::string& arguments) {
  const std::string command = "nm -D " + arguments + " " QRV_BUILD_DIR "/ScreenshotQRV.so";
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
  std::set<std::string> symbols;
  std::array<char, 512> line = {};
  while (std::fgets(line.data(), line.size(), output.get()) != nullptr) {
    const std::string text = line.data();
    const size_t name = text.find_last_of(' ') + 1;
    symbols.insert(text.substr(name, text.find_first_of("@\n", name) - name));
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
  const std::regex frameworks(
      "CF.*|CG.*|QRV_gl.*|Gestalt|FSFindFolder|kCFAllocatorSystemDefault|"
      "__CFStringMakeConstantString");
  const std::set<std::string> library = {"malloc", "calloc", "free", "memcpy"};
  // What the linker and the C library's start-up files add to every shared object.
  const std::regex startUp("_ITM_.*|__gmon_start__|__cxa_finalize|__stack_chk_fail");
  for (const std::string& symbol : Symbols("--undefined-only")) {
    EXPECT_TRUE(std::regex_match(symbol, frameworks) || library.contains(symbol) ||
                std::regex_match(symbol, startUp))
        << symbol;
  }
}

TEST(OpenGLOfThePlatform, IsNotMixedUpWithARealOneInTheProcess) {
  void* real = dlopen("libGL.so.1", RTLD_NOW | RTLD_GLOBAL);
  if (real == nullptr) GTEST_SKIP() << "no libGL on this target";
  ASSERT_NE(dlsym(RTLD_DEFAULT, "glReadPixels"), nullptr);
  UseDesktop("virtual:64x48+0+0");
  Plugin plugin;
  UseSystem(kDisplayImage);
  const Plugin::Picture expected = plugin.Main();
  ASSERT_TRUE(expected.has_value());
  UseSystem(kOpenGL);
  EXPECT_EQ(Difference(plugin.Main(), *expected), "");
  EXPECT_EQ(Difference(plugin.FromRaw(plugin.Raw()), *expected), "");
}

}  // namespace
}  // namespace qrv::testing
