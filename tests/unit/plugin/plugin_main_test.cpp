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
    EXPECT_EQ(host->interfaceVersion(), code) << version.value_or(-1);
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
    for (const auto& method : host->methods()) EXPECT_EQ(method.flags, flags) << version;
  }
  using namespace runtime::methods;
  const char* const declarations[] = {
      kScreenshotDisplay.declaration,       kScreenshot.declaration,
      kScreenshotRect.declaration,          kScreenshotRectScaled.declaration,
      kScreenshotStringDisplay.declaration, kScreenshotString.declaration,
      kScreenshotFromString.declaration};
  ASSERT_EQ(host->methods().size(), std::size(declarations));
  for (size_t i = 0; i < std::size(declarations); ++i) {
    EXPECT_STREQ(host->methods()[i].declaration.c_str(), declarations[i]);
    const REALmethodDefinition& method = globalMethods[i];
    EXPECT_EQ(method.setterFunction, nullptr);
    EXPECT_EQ(method.attributeCount, 0U);
    EXPECT_EQ(method.attributes, nullptr);
  }
}

}  // namespace
}  // namespace qrv::passthrough
