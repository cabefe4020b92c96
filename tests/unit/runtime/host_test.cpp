#include "runtime/host.h"

#include <gtest/gtest.h>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

TEST(Host, OffersWhatItsVersionHas) {
  struct Case {
    std::optional<double> version;
    bool hasStringData;
  };
  for (const Case& c : {Case{2013.0, true}, Case{2012.99, false}, Case{std::nullopt, false}}) {
    const PluginSide plugin(Version(c.version));
    EXPECT_EQ(plugin.Has("PluginGetStringData"), c.hasStringData);
    EXPECT_EQ(plugin.Has("PluginDisposeStringData"), c.hasStringData);
    EXPECT_EQ(plugin.Has("REALGetRBVersion"), c.version.has_value());
    EXPECT_TRUE(plugin.Has("unlockPictureDescription"));
    EXPECT_FALSE(plugin.Has("UnlockPictureDescription"));
  }
}

int Twice(int number) { return 2 * number; }

TEST(Host, KnowsItsVersionAndThePluginsMethods) {
  const PluginSide plugin(Version(2011.04));
  EXPECT_EQ(plugin.Call<double>("REALGetRBVersion"), 2011.04);
  REALmethodDefinition definition = {
      reinterpret_cast<void*>(Twice), nullptr, "Twice(n as integer) as integer", 4, 0, nullptr};
  plugin.Call("PluginRegisterMethod", &definition);
  plugin.Call("RegisterPluginVersion", 12);
  EXPECT_EQ(plugin.host.InterfaceVersion(), 12);
  ASSERT_EQ(plugin.host.Methods().size(), 1U);
  EXPECT_EQ(plugin.host.Methods()[0].flags, 4U);
  EXPECT_EQ(plugin.host.Call(Method<int(int)>{"Twice(n as integer) as integer"}, 21), 42);
  EXPECT_EQ(plugin.host.Call(Method<int(int)>{"twice(n as integer) as integer"}, 21), 0);
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
