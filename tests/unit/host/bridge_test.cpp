#include "plugin/host/bridge.h"

#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

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
  EXPECT_EQ(host->ledger().strings, 1);
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
  EXPECT_EQ(host->ledger().strings, 1);  // the converted one is given back
}

}  // namespace
}  // namespace qrv::passthrough
