#include <cmath>

#include "plugin/host/bridge.h"
#include "plugin/method_table.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class PluginMain : public PluginTest {
 protected:
  void StartIn(std::optional<double> version) {
    for (REALmethodDefinition& method : globalMethods) method.flags = 0x40000;
    HostOptions kind;
    kind.version = version;
    Use(kind);
  }
};

TEST_F(PluginMain, ReportsTheInterfaceVersionThatSuitsTheHost) {
  const std::vector<std::pair<std::optional<double>, int>> cases = {
      {2013.03, 12}, {2013.0299, 11}, {2013.0, 11}, {2012.99, 10}, {2012.0, 10},
      {2011.99, 9},  {0.0, 9},        {1e9, 12},    {NAN, 9},      {std::nullopt, 9}};
  for (const auto& [version, code] : cases) {
    StartIn(version);
    EXPECT_EQ(host->InterfaceVersion(), code) << version.value_or(-1);
  }
}

TEST_F(PluginMain, DoesNothingWithoutAResolver) {
  StartIn(2013.03);
  ClearRecord();
  REALPluginMain(nullptr);
  EXPECT_TRUE(layer.calls.empty());
  EXPECT_NE(gResolver, nullptr) << "that of the host stays";
}

TEST(MethodFlags, MoveToTheBitsOfNewerHosts) {
  struct Case {
    uint32_t stored, newer, older;
  };
  for (const Case& c : {Case{0x80000, 0x8, 0}, Case{0x100000, 0, 0}, Case{0x1C0000, 0xC, 0},
                        Case{0xFFE3FFF3, 0xFFE3FFF3, 0xFFE3FFF3}, Case{0x4, 0x4, 0x4}}) {
    EXPECT_EQ(AdaptMethodFlags(c.stored, 2010.029), c.newer) << std::hex << c.stored;
    EXPECT_EQ(AdaptMethodFlags(c.stored, 2010.0), c.older) << std::hex << c.stored;
  }
}

TEST_F(PluginMain, HandsTheMethodsOverInOrderWithFlagsThatSuitTheHost) {
  for (const auto& [version, flags] : {std::pair{2010.029, 0x4U}, {2010.0289, 0U}}) {
    StartIn(version);
    Use(options);  // adapting what is adapted changes nothing
    for (const auto& method : host->Methods()) EXPECT_EQ(method.flags, flags) << version;
  }
  using namespace runtime::methods;
  const char* const declarations[] = {
      kScreenshotDisplay.declaration,       kScreenshot.declaration,
      kScreenshotRect.declaration,          kScreenshotRectScaled.declaration,
      kScreenshotStringDisplay.declaration, kScreenshotString.declaration,
      kScreenshotFromString.declaration};
  ASSERT_EQ(host->Methods().size(), std::size(declarations));
  for (size_t i = 0; i < std::size(declarations); ++i) {
    EXPECT_STREQ(host->Methods()[i].declaration.c_str(), declarations[i]);
    const REALmethodDefinition& method = globalMethods[i];
    EXPECT_EQ(method.setterFunction, nullptr);
    EXPECT_EQ(method.attributeCount, 0U);
    EXPECT_EQ(method.attributes, nullptr);
  }
}

class HostBridge : public PluginTest {};

TEST_F(HostBridge, BindsAnEntryPointOnceItIsThereAndNeverAsksForItAgain) {
  gResolver = nullptr;
  EXPECT_EQ(REALNewPicture(3, 2, 32), nullptr);
  gResolver = Resolve;
  layer.missing = {"newPicture"};
  EXPECT_EQ(REALNewPicture(3, 2, 32), nullptr);
  layer.missing.clear();
  for (int i = 0; i < 2; ++i) host->Release(REALNewPicture(3, 2, 32));
  EXPECT_EQ(layer.CallsOf("look up newPicture"), 2);
  EXPECT_EQ(layer.CallsOf("newPicture"), 2);
}

class StringData : public PluginTest {
 protected:
  StringData() { string = host->NewString({"a\0b", 3}, 5); }
  ~StringData() override { host->Release(string); }

  void ExpectRefused(REALstringStruct* asked, unsigned long encoding) {
    EXPECT_FALSE(REALGetStringData(asked, encoding, &data));
    EXPECT_EQ(data.data, nullptr);
    EXPECT_EQ(data.length, 99U);
    EXPECT_EQ(data.encoding, 98U);
    EXPECT_THAT(layer.held, IsEmpty());
  }

  static inline int length = -1;  // as the host tells it
  REALstringStruct* string = nullptr;
  REALstringData data = {nullptr, 99, 98};
};

// With four zero bytes after it, and converted only where its encoding differs.
TEST_F(StringData, IsCopiedThroughTheOlderServices) {
  layer.missing = {"PluginGetStringData"};
  seam::REALConvertString.answer = [this](REALstringStruct*, unsigned long encoding) {
    return host->NewString("other", static_cast<uint32_t>(encoding));
  };
  for (const unsigned long encoding : {0xFFFFUL, 5UL, 6UL}) {
    ASSERT_TRUE(REALGetStringData(string, encoding, &data));
    EXPECT_EQ(std::string(data.data, data.length + 4),
              encoding == 6 ? std::string("other\0\0\0\0", 9) : std::string("a\0b\0\0\0\0", 7));
    EXPECT_EQ(data.encoding, encoding);
    REALDisposeStringData(&data);
    EXPECT_THAT(layer.held, IsEmpty());
  }
  EXPECT_EQ(layer.CallsOf("REALGetStringEncoding"), 2);
  EXPECT_EQ(host->Outstanding().strings, 1);
}

TEST_F(StringData, IsRefusedWithTheRecordUntouched) {
  layer.missing = {"PluginGetStringData", "REALLoadGlobalMethod"};
  ExpectRefused(string, kRawBytesEncoding);
  layer.missing = {"PluginGetStringData"};
  seam::REALLoadGlobalMethod.answer = [](void*, const char*) {
    return reinterpret_cast<void*>(+[](REALstringStruct*) { return length; });
  };
  ExpectRefused(string, kRawBytesEncoding);
  length = 5;
  ExpectRefused(nullptr, kRawBytesEncoding);
  ExpectRefused(string, 6);  // the host can't convert it
  seam::REALConvertString.answer = [this](REALstringStruct*, unsigned long) {
    return host->NewString("other");
  };
  for (const char* step : {"malloc", "StringGetCString"}) {
    layer.refused = {step};
    ExpectRefused(string, 6);
  }
  EXPECT_EQ(host->Outstanding().strings, 1);  // the converted one is given back
}

}  // namespace
}  // namespace qrv::passthrough
