#include "host/bridge.h"

#include <cstring>
#include <functional>

#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

// Calls the wrapper and tells whether it yielded nil, 0 or false.
struct Wrapper {
  std::string entryPoint;
  std::function<bool()> yieldsNothing;
};

std::vector<Wrapper> Wrappers() {
  static REALpictureDescription description;
  static unsigned char byte;
  auto* string = reinterpret_cast<REALstringStruct*>(&description);
  auto* object = reinterpret_cast<REALobjectStruct*>(&description);
  auto* picture = reinterpret_cast<REALpictureStruct*>(&description);
  const auto nothing = [](auto call) {
    return [call] {
      call();
      return true;
    };
  };
  return {
      {"PluginRegisterMethod", nothing([] { REALRegisterMethod(nullptr); })},
      {"REALBuildString", [] { return originalREALBuildString("", 0) == nullptr; }},
      {"REALSetStringEncoding", nothing([=] { REALSetStringEncoding(string, 1); })},
      {"REALGetStringEncoding", [=] { return REALGetStringEncoding(string) == 0; }},
      {"REALConvertString", [=] { return REALConvertString(string, 1) == nullptr; }},
      {"REALLockString", [=] { return !REALLockString(string); }},
      {"REALUnlockString", nothing([=] { REALUnlockString(string); })},
      {"REALLoadGlobalMethod", [] { return REALLoadFrameworkMethod("x") == nullptr; }},
      {"REALLockObject", [=] { return !REALLockObject(object); }},
      {"REALUnlockObject", nothing([=] { REALUnlockObject(object); })},
      {"newPicture", [] { return REALNewPicture(1, 1, 32) == nullptr; }},
      {"REALLockPictureDescription",
       [=] { return !REALLockPictureDescription(picture, &description, 8); }},
      {"unlockPictureDescription", nothing([=] { REALUnlockPictureDescription(picture); })},
      {"REALPictureClearCache", nothing([=] { REALPictureClearCache(picture); })},
      {"pluginObjectType", [] { return REALGetClassRef("x") == nullptr; }},
      {"REALGetPropValueBool",
       [=] {
         byte = 77;
         return !REALGetPropValueUInt8(object, "x", &byte) && byte == 77;
       }},
      {"PluginNewInstance", [] { return REALnewInstance("x") == nullptr; }},
      {"REALLoadObjectMethod", [=] { return REALLoadObjectMethod(object, "x") == nullptr; }},
      {"REALGetPictureMask", [=] { return REALGetPictureMask(picture, 1) == nullptr; }},
      {"pluginPictureGraphicsGetter", [=] { return REALGetPictureGraphics(picture) == nullptr; }},
  };
}

void* KnowNothing(const char* name) {
  Record(name);
  return nullptr;
}

class HostBridge : public PluginTest {};

TEST_F(HostBridge, YieldsNothingForAnEntryPointThatIsMissingAndAsksAgainEachTime) {
  gResolver = KnowNothing;
  for (const Wrapper& wrapper : Wrappers()) {
    stage.ClearRecord();
    EXPECT_TRUE(wrapper.yieldsNothing()) << wrapper.entryPoint;
    EXPECT_TRUE(wrapper.yieldsNothing()) << wrapper.entryPoint;
    EXPECT_THAT(stage.calls, ElementsAre(wrapper.entryPoint, wrapper.entryPoint));
  }
}

TEST_F(HostBridge, YieldsNothingBeforeTheHostHasStartedThePlugin) {
  gResolver = nullptr;
  for (const Wrapper& wrapper : Wrappers()) EXPECT_TRUE(wrapper.yieldsNothing());
}

TEST_F(HostBridge, BindsAnEntryPointOnceItIsThereAndNeverAsksForItAgain) {
  stage.missing = {"newPicture"};
  EXPECT_EQ(REALNewPicture(3, 2, 32), nullptr);
  stage.missing.clear();
  ReleasePicture(REALNewPicture(3, 2, 32));
  ReleasePicture(REALNewPicture(5, 4, 32));
  EXPECT_THAT(stage.calls, ElementsAre("resolve newPicture", "resolve newPicture",
                                       "newPicture 3 2 32", "newPicture 5 4 32"));
}

class StringData : public PluginTest {
 protected:
  // A host of the older generation of string services.
  void UseOlderServices() { stage.missing.insert("PluginGetStringData"); }

  REALstringStruct* NewString(const std::string& bytes, uint32_t encoding = 0xFFFF) {
    REALstringStruct* string = NewHostString(bytes, encoding);
    stage.held.clear();
    return string;
  }

  REALstringData data = {nullptr, 99, 98};
};

TEST_F(StringData, ComesFromTheHostWhereItHasTheService) {
  REALstringStruct* string = NewString("bytes");
  ASSERT_TRUE(REALGetStringData(string, 0x600, &data));
  EXPECT_EQ(data.encoding, 0x600U);
  REALDisposeStringData(&data);
  EXPECT_FALSE(REALGetStringData(nullptr, 0x600, &data));  // the host is asked for nil, too
  EXPECT_THAT(Calls(), ElementsAre("PluginGetStringData 1536", "PluginDisposeStringData",
                                   "PluginGetStringData 1536"));
  ExpectNothingHeld();
  delete string;
}

TEST_F(StringData, IsCopiedWithFourZeroBytesAfterItByTheOlderServices) {
  UseOlderServices();
  for (const std::string& bytes : {std::string(), std::string("a\0b", 3)}) {
    REALstringStruct* string = NewString(bytes);
    stage.calls.clear();
    ASSERT_TRUE(REALGetStringData(string, 0xFFFF, &data));
    EXPECT_EQ(std::string(data.data, data.length + 4), bytes + std::string(4, '\0'));
    EXPECT_EQ(data.encoding, 0xFFFFU);
    EXPECT_THAT(Calls(), Not(Contains("REALGetStringEncoding")));
    EXPECT_THAT(HeldKinds(), ElementsAre("memory"));
    REALDisposeStringData(&data);
    ExpectNothingHeld();
    delete string;
  }
}

TEST_F(StringData, IsConvertedByTheOlderServicesOnlyWhenItsEncodingDiffers) {
  UseOlderServices();
  REALstringStruct* string = NewString("ab", 5);
  ASSERT_TRUE(REALGetStringData(string, 5, &data));
  EXPECT_EQ(std::string(data.data, data.length), "ab");
  REALDisposeStringData(&data);
  stage.calls.clear();
  ASSERT_TRUE(REALGetStringData(string, 6, &data));
  EXPECT_EQ(std::string(data.data, data.length), "aabb");
  EXPECT_EQ(data.encoding, 6U);
  EXPECT_EQ(Calls().back(), "REALUnlockString");
  EXPECT_THAT(HeldKinds(), ElementsAre("memory"));
  REALDisposeStringData(&data);
  delete string;
}

TEST_F(StringData, IsRefusedWithoutTheServiceThatGivesTheBytes) {
  UseOlderServices();
  stage.missing.insert("StringGetCString");
  REALstringStruct* string = NewString("ab");
  EXPECT_FALSE(REALGetStringData(string, 0xFFFF, &data));
  EXPECT_EQ(data.length, 99U);
  delete string;
}

TEST_F(StringData, IsRefusedWithTheRecordUntouched) {
  UseOlderServices();
  REALstringStruct* string = NewString("ab", 5);
  const auto expectRefused = [this](REALstringStruct* asked, unsigned long encoding) {
    EXPECT_FALSE(REALGetStringData(asked, encoding, &data));
    EXPECT_EQ(data.data, nullptr);
    EXPECT_EQ(data.length, 99U);
    EXPECT_EQ(data.encoding, 98U);
    ExpectNothingHeld();
  };
  stage.missing.insert("REALLoadGlobalMethod");
  expectRefused(string, 0xFFFF);
  stage.missing.erase("REALLoadGlobalMethod");
  expectRefused(nullptr, 0xFFFF);
  stage.refused = {"malloc"};
  expectRefused(string, 0xFFFF);
  expectRefused(string, 6);  // the converted string is given back
  stage.refused = {"REALConvertString"};
  expectRefused(string, 6);
  delete string;
}

}  // namespace
}  // namespace qrv::fakes
