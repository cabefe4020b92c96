// What the host counts as held, and as a call against its interface.

#include <gtest/gtest.h>

#include "runtime/entry_points.h"
#include "runtime/pictures.h"

namespace qrv::runtime {
namespace {

struct Story {
  const char* steps;
  Ledger after;
  double version = 2013.03;
};

void Play(Host& host, const std::string& steps) {
  REALpictureStruct *picture = nullptr, *mask = nullptr;
  REALobjectStruct* graphics = nullptr;
  REALstringStruct* string = nullptr;
  REALstringData data = {};
  REALpictureDescription description = {};
  const std::map<std::string, std::function<void()>> all = {
      {"picture", [&] { picture = NewPicture(1, 1, 32); }},
      {"lock", [&] { LockPictureDescription(picture, &description, kPixelTypeBitmapContext); }},
      {"lock-as-console",
       [&] { LockPictureDescription(picture, &description, kPixelTypeConsoleImage); }},
      {"unlock", [&] { UnlockPictureDescription(picture); }},
      {"release", [&] { UnlockObject(picture); }},
      {"mask", [&] { mask = GetPictureMask(picture, 1); }},
      {"release-mask", [&] { UnlockObject(mask); }},
      {"graphics", [&] { graphics = GetPictureGraphics(picture); }},
      {"release-graphics", [&] { UnlockObject(graphics); }},
      {"string", [&] { string = host.NewString("abc"); }},
      {"lock-string", [&] { LockString(string); }},
      {"unlock-string", [&] { UnlockString(string); }},
      {"release-string", [&] { host.Release(string); }},
      {"data", [&] { GetStringData(string, kRawBytesEncoding, &data); }},
      {"dispose", [&] { DisposeStringData(&data); }},
  };
  std::istringstream words(steps);
  for (std::string word; words >> word;) all.at(word)();
}

TEST(Ledger, TellsWhatIsHeldAndWhatWasDoneWrong) {
  const Ledger picture = {.objects = 1, .references = 1};
  const Ledger badPicture = {.objects = 1, .references = 1, .violations = 1};
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
      {"string release-string release-string", {.violations = 1}},
      {"string lock-string release-string release-string", {.violations = 1}},
      {"string data", {.strings = 1, .references = 1, .stringDataBuffers = 1}},
      {"string data dispose dispose", {.strings = 1, .references = 1, .violations = 1}},
      {"data", {}},  // a nil string is nobody's fault
  };
  for (const Story& each : stories) {
    Host host({.version = each.version});
    Play(host, each.steps);
    EXPECT_TRUE(host.Outstanding() == each.after) << each.steps;
  }
}

}  // namespace
}  // namespace qrv::runtime
