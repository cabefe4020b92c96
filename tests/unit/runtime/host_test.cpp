#include "runtime/host.h"

#include <gtest/gtest.h>

#include "runtime/entry_points.h"

namespace qrv::runtime {
namespace {

TEST(Host, OffersWhatItsVersionHas) {
  for (const std::optional<double> version : {std::optional(2013.0), {2012.99}, {}}) {
    const Host host({.version = version});
    const bool hasStringData = version == 2013.0;
    EXPECT_EQ(ResolveEntryPoint("PluginGetStringData") != nullptr, hasStringData);
    EXPECT_EQ(ResolveEntryPoint("PluginDisposeStringData") != nullptr, hasStringData);
    EXPECT_EQ(ResolveEntryPoint("REALGetRBVersion") != nullptr, version.has_value());
    EXPECT_EQ(ResolveEntryPoint("UnlockPictureDescription"), nullptr);
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
    Host host({});
    std::string error;
    EXPECT_FALSE(host.LoadPlugin(path, error));
    EXPECT_EQ(error, path + ": " + problem);
  }
}

}  // namespace
}  // namespace qrv::runtime
