#include "host/bridge.h"
#include "plugin/method_table.h"
#include "tests/unit/plugin_test.h"

extern "C" void REALPluginMain(REALresolver resolver);

namespace qrv::fakes {
namespace {

class PluginMain : public PluginTest {
 protected:
  PluginMain() {
    gResolver = nullptr;
    rbversion = 0;
  }
  ~PluginMain() override { Registrations().clear(); }

  // Starts the plug-in in a host of that version; nothing: it reports none.
  void StartIn(double version) {
    Registrations().clear();
    stage.ClearRecord();
    stage.version = version;
    rbversion = 0;
    for (REALmethodDefinition& method : globalMethods) method.flags = 0x40000;
    REALPluginMain(Resolve);
  }
};

TEST_F(PluginMain, ReportsTheInterfaceVersionThatSuitsTheHost) {
  const std::vector<std::pair<double, std::string>> cases = {
      {2013.03, "12"}, {2013.0299, "11"}, {2013.0, "11"}, {2012.99, "10"},        {2012.0, "10"},
      {2011.99, "9"},  {0.0, "9"},        {1e9, "12"},    {std::stod("nan"), "9"}};
  for (const auto& [version, code] : cases) {
    StartIn(version);
    EXPECT_THAT(CallsOf({"RegisterPluginVersion"}), ElementsAre("RegisterPluginVersion " + code))
        << version;
  }
}

TEST_F(PluginMain, AdaptsEveryFlagWordToTheHost) {
  const std::vector<std::pair<double, uint32_t>> cases = {
      {2010.029, 0x4}, {2013.03, 0x4}, {2010.0289, 0}, {0.0, 0}};
  for (const auto& [version, flags] : cases) {
    StartIn(version);
    ASSERT_EQ(Registrations().size(), 7U);
    for (const Registration& one : Registrations()) EXPECT_EQ(one.flags, flags) << version;
    REALPluginMain(Resolve);  // adapting what is adapted changes nothing
    EXPECT_EQ(Registrations().back().flags, flags);
  }
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

TEST_F(PluginMain, HandsTheMethodsOverInOrder) {
  StartIn(2012.0);
  std::vector<std::string> declarations;
  for (const Registration& one : Registrations()) {
    declarations.emplace_back(one.definition->declaration);
    EXPECT_NE(one.definition->function, nullptr);
    EXPECT_EQ(one.definition->setterFunction, nullptr);
    EXPECT_EQ(one.definition->attributeCount, 0U);
    EXPECT_EQ(one.definition->attributes, nullptr);
  }
  EXPECT_THAT(
      declarations,
      ElementsAre("ScreenshotDisplayQRV(index as integer) as picture", "ScreenshotQRV as picture",
                  "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as "
                  "integer) as picture",
                  "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as "
                  "integer, destwidth as integer, destheight as integer) as picture",
                  "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, "
                  "byref RowBytes as integer, index as integer) as string",
                  "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref "
                  "RowBytes as integer) as string",
                  "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as "
                  "integer, data as string) as picture"));
}

TEST_F(PluginMain, StartsInAHostThatLacksEveryEntryPoint) {
  stage.missing = {"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterMethod"};
  StartIn(2013.03);
  EXPECT_THAT(Registrations(), IsEmpty());
  EXPECT_EQ(rbversion, 0.0);
  // Asked for anew with each of the seven.
  EXPECT_EQ(CallsOf({"resolve PluginRegisterMethod"}).size(), 7U);
}

}  // namespace
}  // namespace qrv::fakes
