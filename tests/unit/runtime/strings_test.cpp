#include <gtest/gtest.h>

#include <string>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

constexpr unsigned long kRaw = kRawBytesEncoding;
constexpr unsigned long kLatin = 0x201;
constexpr unsigned long kUtf8 = 0x08000100;

HostOptions Version(double version) { return OptionsFor(ApplicationKind::kDesktop, version); }

REALstringStruct* Build(const PluginSide& plugin, const char* bytes, int length) {
  return plugin.Call<REALstringStruct*>("REALBuildString", bytes, length);
}

TEST(HostString, HoldsACopyOfItsBytesAndOneReference) {
  PluginSide plugin;
  std::string bytes("a\0b", 3);
  REALstringStruct* string = Build(plugin, bytes.data(), 3);
  bytes[0] = 'x';
  EXPECT_EQ(Host::Bytes(string), std::string_view("a\0b", 3));
  EXPECT_EQ(Host::References(string), 1);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.strings = 1, .references = 1}));
  plugin.host.Release(string);
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(HostString, IsNotBuiltFromANegativeLength) {
  PluginSide plugin;
  EXPECT_EQ(Build(plugin, "abc", -1), nullptr);
}

TEST(HostString, LiesBehindItsStorageByteOnHostsBefore2013) {
  PluginSide plugin(Version(2012.9));
  REALstringStruct* string = Build(plugin, "pixels", 6);
  const auto* record = reinterpret_cast<const LegacyHostString*>(string);
  ASSERT_EQ(record->length, 6);
  EXPECT_EQ(memcmp(record->storage + 1, "pixels", 6), 0);
}

TEST(HostString, DoesNotShowItsBytesInTheRecordFrom2013On) {
  PluginSide plugin(Version(2013.0));
  const auto* record = reinterpret_cast<const LegacyHostString*>(Build(plugin, "pixels", 6));
  EXPECT_EQ(record->storage, nullptr);
  EXPECT_EQ(record->length, 0);
}

TEST(HostString, IsLockedByOneMoreReference) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("abc");
  plugin.Call<void>("REALLockString", string);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.strings = 1, .references = 2, .stringLocks = 1}));
  plugin.Call<void>("REALUnlockString", string);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.strings = 1, .references = 1}));
}

TEST(HostString, GoesWithTheUnlockThatGivesBackItsLastReference) {
  PluginSide plugin;
  plugin.Call<void>("REALUnlockString", plugin.host.NewString("abc"));
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(HostString, ReleasedTooOftenIsAViolationAndNothingMore) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("abc");
  plugin.Call<void>("REALUnlockString", string);
  plugin.Call<void>("REALUnlockString", string);
  EXPECT_EQ(plugin.Outstanding(), Ledger{.violations = 1});
}

TEST(StringConversion, ToRawBytesKeepsTheBytesInANewString) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("\xE4", kLatin);
  auto* raw = plugin.Call<REALstringStruct*>("REALConvertString", string, kRaw);
  ASSERT_NE(raw, nullptr);
  EXPECT_NE(raw, string);
  EXPECT_EQ(Host::Bytes(raw), "\xE4");
  EXPECT_EQ(Host::Encoding(raw), kRaw);
}

TEST(StringConversion, BetweenTextEncodingsIsRefused) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("\xE4", kLatin);
  EXPECT_EQ(plugin.Call<REALstringStruct*>("REALConvertString", string, kUtf8), nullptr);
}

TEST(StringEncoding, IsWhatThePluginSetsIt) {
  PluginSide plugin;
  REALstringStruct* string = Build(plugin, "abc", 3);
  EXPECT_EQ(plugin.Call<unsigned long>("REALGetStringEncoding", string), 0U);
  plugin.Call<void>("REALSetStringEncoding", string, kRaw);
  EXPECT_EQ(plugin.Call<unsigned long>("REALGetStringEncoding", string), kRaw);
}

TEST(StringData, IsOutstandingUntilItIsDisposedOf) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("abc");
  REALstringData data = {};
  ASSERT_TRUE(plugin.Call<bool>("PluginGetStringData", string, kRaw, &data));
  EXPECT_EQ(std::string_view(data.data, data.length), "abc");
  EXPECT_EQ(data.encoding, kRaw);
  EXPECT_EQ(plugin.Outstanding().stringDataBuffers, 1);
  plugin.Call<void>("PluginDisposeStringData", &data);
  plugin.host.Release(string);
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(StringData, OfANilStringIsRefusedWithoutBlame) {
  PluginSide plugin;
  REALstringData data = {};
  REALstringStruct* nil = nullptr;
  EXPECT_FALSE(plugin.Call<bool>("PluginGetStringData", nil, kRaw, &data));
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(StringData, DisposedOfTwiceIsAViolation) {
  PluginSide plugin;
  REALstringStruct* string = plugin.host.NewString("abc");
  REALstringData data = {};
  plugin.Call<bool>("PluginGetStringData", string, kRaw, &data);
  plugin.Call<void>("PluginDisposeStringData", &data);
  plugin.Call<void>("PluginDisposeStringData", &data);
  EXPECT_EQ(plugin.Outstanding().violations, 1);
}

TEST(StringServices, OfOldHostsReadTheBytesAndTheirLength) {
  PluginSide plugin(Version(2010.0));
  REALstringStruct* string = plugin.host.NewString(std::string_view("a\0b", 3));
  void* none = nullptr;
  void* lenB = plugin.Call<void*>("REALLoadGlobalMethod", none, "LenB( s as string ) as integer");
  ASSERT_NE(lenB, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)(REALstringStruct*)>(lenB)(string), 3);
  EXPECT_EQ(memcmp(plugin.Call<const char*>("StringGetCString", string), "a\0b", 4), 0);
}

}  // namespace
}  // namespace qrv::runtime
