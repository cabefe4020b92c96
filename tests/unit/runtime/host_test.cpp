#include "runtime/host.h"

#include <gtest/gtest.h>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

TEST(Host, OffersWhatItsVersionHas) {
  for (const std::optional<double> version : {std::optional(2013.0), {2012.99}, {}}) {
    const PluginSide plugin(Version(version));
    const bool hasStringData = version == 2013.0;
    EXPECT_EQ(plugin.Has("PluginGetStringData"), hasStringData);
    EXPECT_EQ(plugin.Has("PluginDisposeStringData"), hasStringData);
    EXPECT_EQ(plugin.Has("REALGetRBVersion"), version.has_value());
    EXPECT_FALSE(plugin.Has("UnlockPictureDescription"));
  }
}

TEST(Host, TellsWhatIsWrongWithAPluginFile) {
  const std::string build = QRV_BUILD_DIR;
  const std::pair<std::string, const char*> files[] = {
      {"/no/such/plug-in.so", "plug-in not found"},
      {"libc.so.6", "plug-in not found"},  // library folders are not searched
      {build, "not a plug-in: not a file"},
      {build + "/CMakeCache.txt",
       "not a plug-in: not a library for this machine, or only part of one"},
      {build + "/libScreenshotPlatform.so", "not a plug-in: it has no REALPluginMain"}};
  for (const auto& [path, problem] : files) {
    Host host{HostOptions()};
    std::string error;
    EXPECT_FALSE(host.LoadPlugin(path, error));
    EXPECT_EQ(error, path + ": " + problem);
  }
}

TEST(Host, ConvertsStringsToRawBytesOnly) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("\xE4", 0x201);
  const unsigned long utf8 = 0x08000100;
  const unsigned long rawBytes = kRawBytesEncoding;
  EXPECT_EQ(plugin.Call<void*>("REALConvertString", string, utf8), nullptr);
  auto* raw = plugin.Call<REALstringStruct*>("REALConvertString", string, rawBytes);
  ASSERT_NE(raw, nullptr);
  EXPECT_NE(raw, string);
  EXPECT_EQ(Host::Bytes(raw), "\xE4");
  EXPECT_EQ(Host::Encoding(raw), kRawBytesEncoding);
}

}  // namespace
}  // namespace qrv::runtime
