// What the host counts as held, and as a call against its interface.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

struct Story {
  const char* steps;
  Ledger after;
  double version = 2013.03;
};

void Play(PluginSide& p, const std::string& steps) {
  REALpictureStruct* picture = nullptr;
  REALpictureStruct* mask = nullptr;
  REALobjectStruct* graphics = nullptr;
  REALstringStruct* string = nullptr;
  REALstringData data = {};
  const unsigned long raw = kRawBytesEncoding;
  const std::map<std::string, std::function<void()>> all = {
      {"picture", [&] { picture = p.NewPicture(); }},
      {"lock", [&] { p.Lock(picture); }},
      {"lock-as-console", [&] { EXPECT_FALSE(p.Lock(picture, kConsole)); }},
      {"unlock", [&] { p.Unlock(picture); }},
      {"release", [&] { p.Release(picture); }},
      {"mask", [&] { mask = p.MaskOf(picture); }},
      {"release-mask", [&] { p.Release(mask); }},
      {"graphics", [&] { graphics = p.GraphicsOf(picture); }},
      {"release-graphics", [&] { p.Release(graphics); }},
      {"string", [&] { string = p.host.NewString("abc"); }},
      {"lock-string", [&] { p.Call("REALLockString", string); }},
      {"unlock-string", [&] { p.Call("REALUnlockString", string); }},
      {"release-string", [&] { p.host.Release(string); }},
      {"data", [&] { p.Call<bool>("PluginGetStringData", string, raw, &data); }},
      {"dispose", [&] { p.Call("PluginDisposeStringData", &data); }},
  };
  std::istringstream words(steps);
  for (std::string word; words >> word;) all.at(word)();
}

TEST(Ledger, TellsWhatIsHeldAndWhatWasDoneWrong) {
  const Ledger picture = {.objects = 1, .references = 1};
  const Ledger badPicture = {.objects = 1, .references = 1, .violations = 1};
  const Ledger string = {.strings = 1, .references = 1};
  const Story stories[] = {
      {"picture", picture},
      {"picture release release", {.violations = 1}},
      {"release", {.violations = 1}},
      {"picture lock", {.objects = 1, .references = 1, .pictureLocks = 1}},
      {"picture lock lock unlock", picture},
      {"picture unlock", badPicture},
      {"picture lock-as-console unlock", badPicture, 2012.0},
      {"picture lock-as-console unlock unlock", badPicture, 2011.99},  // wants it, once
      {"picture lock release", {.violations = 1}},
      {"picture release lock", {.violations = 1}},
      {"picture mask mask", {.objects = 2, .references = 3}},
      {"picture mask release-mask release-mask", {.objects = 2, .references = 1, .violations = 1}},
      {"picture mask release", picture},
      {"picture mask release-mask release", {}},
      {"picture graphics release", {.objects = 2, .references = 1}},
      {"picture graphics release release-graphics", {}},
      {"string lock-string", {.strings = 1, .references = 2, .stringLocks = 1}},
      {"string lock-string unlock-string unlock-string", {}},
      {"string unlock-string unlock-string", {.violations = 1}},
      {"string lock-string release-string release-string", {.violations = 1}},
      {"string data", {.strings = 1, .references = 1, .stringDataBuffers = 1}},
      {"string data dispose dispose", {.strings = 1, .references = 1, .violations = 1}},
      {"data", {}},  // a nil string is nobody's fault
  };
  for (const Story& each : stories) {
    PluginSide plugin(Version(each.version));
    Play(plugin, each.steps);
    EXPECT_TRUE(plugin.host.Outstanding() == each.after) << each.steps;
  }
}

}  // namespace
}  // namespace qrv::runtime
