#include "runtime/host.h"

#include <gtest/gtest.h>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

TEST(Host, OffersTheStringDataServicesFrom2013On) {
  for (const char* name : {"PluginGetStringData", "PluginDisposeStringData"}) {
    EXPECT_TRUE(PluginSide(OptionsFor(ApplicationKind::kDesktop, 2013.0)).Has(name));
    EXPECT_FALSE(PluginSide(OptionsFor(ApplicationKind::kDesktop, 2012.99)).Has(name));
    EXPECT_FALSE(PluginSide(OptionsFor(ApplicationKind::kDesktop, std::nullopt)).Has(name));
  }
}

TEST(Host, LacksWhatItIsToldToLack) {
  HostOptions options;
  options.missing = {"newPicture"};
  const PluginSide plugin(options);
  EXPECT_FALSE(plugin.Has("newPicture"));
  EXPECT_TRUE(plugin.Has("REALLockObject"));
}

TEST(Host, KnowsEntryPointsByTheirExactNames) {
  const PluginSide plugin;
  EXPECT_TRUE(plugin.Has("unlockPictureDescription"));
  EXPECT_FALSE(plugin.Has("UnlockPictureDescription"));
  EXPECT_FALSE(plugin.Has(""));
}

TEST(Host, StatesItsVersionOrHasNoSuchEntryPoint) {
  EXPECT_EQ(PluginSide(OptionsFor(ApplicationKind::kWeb, 2011.04)).Call<double>("REALGetRBVersion"),
            2011.04);
  EXPECT_FALSE(
      PluginSide(OptionsFor(ApplicationKind::kDesktop, std::nullopt)).Has("REALGetRBVersion"));
}

TEST(Host, HasTheApplicationClassOfItsKindOnly) {
  const std::pair<ApplicationKind, const char*> kinds[] = {
      {ApplicationKind::kDesktop, "Application"},
      {ApplicationKind::kWeb, "WebApplication"},
      {ApplicationKind::kConsole, "ConsoleApplication"}};
  for (const auto& [application, ownClass] : kinds) {
    const PluginSide plugin(OptionsFor(application));
    for (const auto& [other, name] : kinds) {
      EXPECT_EQ(plugin.Call<void*>("pluginObjectType", name) != nullptr, name == ownClass) << name;
    }
  }
}

TEST(PictureClass, GivesAnInstanceItsPixelsInTheConstructor) {
  for (const ApplicationKind application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    const PluginSide plugin(OptionsFor(application));
    auto* instance = plugin.Call<REALobjectStruct*>("PluginNewInstance", "Picture");
    auto* picture = reinterpret_cast<REALpictureStruct*>(instance);
    REALpictureDescription description = {};
    EXPECT_FALSE(plugin.Lock(picture, &description, kPixelTypeBitmapContext));
    EXPECT_FALSE(plugin.Lock(picture, &description, kPixelTypeConsoleImage));

    void* construct =
        plugin.ObjectMethod(instance, "Constructor(width as integer, height as integer)");
    ASSERT_NE(construct, nullptr);
    reinterpret_cast<void (*)(REALobjectStruct*, int, int)>(construct)(instance, 7, 5);
    EXPECT_EQ(Host::Width(picture), 7);
    EXPECT_EQ(Host::Height(picture), 5);
    EXPECT_EQ(Host::References(picture), 1);
    plugin.Release(instance);
    EXPECT_EQ(plugin.Outstanding(), Ledger{});
  }
}

TEST(Host, HasNoInstancesOfOtherClasses) {
  EXPECT_EQ(PluginSide().Call<REALobjectStruct*>("PluginNewInstance", "Window"), nullptr);
}

int Twice(int number) { return 2 * number; }

TEST(Methods, AreCalledByTheirDeclaration) {
  PluginSide plugin;
  REALmethodDefinition definition = {
      reinterpret_cast<void*>(Twice), nullptr, "Twice(n as integer) as integer", 4, 0, nullptr};
  plugin.Call<void>("PluginRegisterMethod", &definition);
  plugin.Call<void>("RegisterPluginVersion", 12);
  EXPECT_EQ(plugin.host.InterfaceVersion(), 12);
  ASSERT_EQ(plugin.host.Methods().size(), 1U);
  EXPECT_EQ(plugin.host.Methods()[0].flags, 4U);
  EXPECT_EQ(plugin.host.Call<int>("Twice(n as integer) as integer", 21), 42);
  EXPECT_EQ(plugin.host.Call<int>("twice(n as integer) as integer", 21), 0);
}

std::string LoadError(const std::string& path) {
  Host host{HostOptions()};
  std::string error;
  EXPECT_FALSE(host.LoadPlugin(path, error)) << path;
  return error;
}

TEST(LoadPlugin, TellsWhatIsWrongWithTheFile) {
  const std::string build = QRV_BUILD_DIR;
  EXPECT_EQ(LoadError("/no/such/plug-in.so"), "/no/such/plug-in.so: plug-in not found");
  EXPECT_EQ(LoadError(build), build + ": not a plug-in: not a file");
  const std::string text = build + "/CMakeCache.txt";
  EXPECT_EQ(LoadError(text),
            text + ": not a plug-in: not a library for this machine, or only part of one");
  const std::string library = build + "/libScreenshotPlatform.so";
  EXPECT_EQ(LoadError(library), library + ": not a plug-in: it has no REALPluginMain");
}

TEST(LoadPlugin, DoesNotSearchLibraryFolders) {
  EXPECT_EQ(LoadError("libc.so.6"), "libc.so.6: plug-in not found");
}

}  // namespace
}  // namespace qrv::runtime
