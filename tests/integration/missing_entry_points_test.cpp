// The built plug-in in hosts that lack entry points, singly and in groups that belong together.

#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

using runtime::ApplicationKind;
using runtime::HostOptions;

// What every method yields by every strategy; empty for nil.
std::vector<std::string> Results(const HostOptions& options) {
  Plugin plugin(options);
  std::vector<std::string> results;
  for (const char* system : kSystems) {
    UseSystem(system);
    for (const Plugin::Picture& each :
         {plugin.Main(), plugin.Display(1), plugin.Rect({-10, 5, 60, 30}),
          plugin.Scaled({-10, 5, 60, 30}, 30, 40), plugin.FromRaw({"0123456789abcdef", 2, 2, 8})}) {
      results.push_back(each ? std::string(each->rgba.begin(), each->rgba.end()) : "");
    }
    results.push_back(plugin.Raw().bytes);
    results.push_back(plugin.Raw(1).bytes);
  }
  return results;
}

// The plug-in keeps the entry points that it has found, so the host that lacks none comes second.
void Compare(const HostOptions& whole, const std::string& lacking) {
  UseDesktop("virtual:40x30+0+0,20x10-20+0");
  HostOptions options = whole;
  std::istringstream names(lacking);
  options.missing = {std::istream_iterator<std::string>(names), {}};
  const std::vector<std::string> results = Results(options), expected = Results(whole);
  const bool makesPictures = lacking != "PluginRegisterMethod" && lacking != "REALLockObject" &&
                             lacking != "newPicture" &&
                             !lacking.starts_with("REALLockPictureDescription");
  EXPECT_EQ(!results[0].empty(), makesPictures);
  for (size_t i = 0; i < results.size(); ++i) {
    EXPECT_TRUE(results[i].empty() || results[i] == expected[i]) << "result " << i;
  }
}

constexpr char kLacking[] =
    "RegisterPluginVersion,REALGetRBVersion,REALGetRBVersion pluginObjectType,PluginRegisterMethod,"
    "REALBuildString,REALSetStringEncoding,REALGetStringEncoding,REALConvertString,REALLockString,"
    "REALUnlockString,REALLockString REALUnlockString,StringGetCString,REALLoadGlobalMethod,"
    "StringGetCString REALLoadGlobalMethod,PluginGetStringData,PluginDisposeStringData,"
    "PluginGetStringData PluginDisposeStringData,PluginGetStringData StringGetCString,"
    "PluginGetStringData REALLoadGlobalMethod,REALLockObject,REALUnlockObject,"
    "REALLockObject REALUnlockObject,newPicture,REALLockPictureDescription,"
    "unlockPictureDescription,REALLockPictureDescription unlockPictureDescription,"
    "REALPictureClearCache,REALGetPropValueBool,pluginObjectType,REALGetPictureMask,"
    "pluginPictureGraphicsGetter,PluginNewInstance,REALLoadObjectMethod";

TEST(HostWithout, GetsTheRightResultOrNilAndEverythingBack) {
  std::istringstream all(kLacking);
  for (std::string lacking; std::getline(all, lacking, ',');) {
    for (const auto application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
      for (const double version : {2010.0, 2013.03}) {
        HostOptions whole;
        whole.application = application;
        whole.version = version;
        EXPECT_EQ(WaitForEnd(ForkTest([&] { Compare(whole, lacking); })), 0) << lacking;
      }
    }
  }
}

}  // namespace
}  // namespace qrv::testing
