#include "plugin/capture/methods.h"
#include "plugin/host/bridge.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class RawPixels : public PluginTest {
 protected:
  REALpictureStruct* Convert(int32_t width, int32_t height, int32_t rowBytes,
                             std::string_view bytes) {
    REALstringStruct* string = host->NewString(bytes);
    REALpictureStruct* picture = ScreenshotFromStringQRV(width, height, rowBytes, string);
    EXPECT_EQ(runtime::Host::References(string), 1);
    host->Release(string);
    return picture;
  }
};

TEST_F(RawPixels, LeaveTheNumbersZeroWhereThereIsNothingToRead) {
  int32_t width = 7, height = 7, rowBytes = 7;
  const auto expectNothing = [&](REALstringStruct* string) {
    EXPECT_EQ(string, nullptr);
    EXPECT_EQ(std::tuple(width, height, rowBytes), std::tuple(0, 0, 0));
    width = height = rowBytes = 7;
  };
  for (const int32_t index : {-1, 2, 31, 32, INT32_MAX}) {
    expectNothing(ScreenshotStringDisplayQRV(width, height, rowBytes, index));
  }
  // 2^32 bytes and more.
  seam::glGetIntegerv.answer = [](GLenum, GLint* values) { values[2] = values[3] = 32769; };
  expectNothing(ScreenshotStringQRV(width, height, rowBytes));
}

// In place on hosts before 2013.0, which need not have what copies a string.
TEST_F(RawPixels, AreReadInTheWayOfTheHost) {
  for (const double version : {2012.99, 2013.0}) {
    HostOptions kind;
    kind.version = version;
    if (version < 2013.0) kind.missing = {"StringGetCString"};
    Use(kind);
    ExpectIs(Convert(2, 2, 12, std::string(kRawPixels) + "excess"), StoredRawPixels());
    EXPECT_EQ(Convert(2, 2, 12, kRawPixels.substr(1)), nullptr);
    EXPECT_EQ(Convert(32768, 1, 131072, std::string(131072, 'x')), nullptr);
    EXPECT_EQ(Convert(1, INT32_MAX, INT32_MAX, "x"), nullptr);
    // 32767 rows of 131076 bytes have the size of nearly nothing in 32 bits.
    EXPECT_EQ(Convert(1, 32767, 131076, "sixteen bytes...."), nullptr);
    EXPECT_EQ(ScreenshotFromStringQRV(2, 2, 8, nullptr), nullptr);
    EXPECT_EQ(Problems(), "");
  }
}

TEST_F(RawPixels, AreNoneInAStringThatTellsNoBytes) {
  seam::PluginGetStringData.answer = [](REALstringStruct*, unsigned long, REALstringData* data) {
    *data = {nullptr, 99, kRawBytesEncoding};
    return true;
  };
  seam::PluginDisposeStringData.answer = [](REALstringData*) {};
  EXPECT_EQ(Convert(2, 2, 12, kRawPixels), nullptr);
  EXPECT_EQ(layer.CallsOf("PluginDisposeStringData"), 1);
  rbversion = 2012;
  LegacyHostString string = {1, nullptr, 0, 99};
  seam::REALLockString.answer = seam::REALUnlockString.answer = [](REALstringStruct*) {};
  EXPECT_EQ(ScreenshotFromStringQRV(2, 2, 12, reinterpret_cast<REALstringStruct*>(&string)),
            nullptr);
}

TEST_F(RawPixels, OfNumbersThatDoNotFitLeaveTheStringUntouched) {
  for (const auto& [width, height, rowBytes] : std::vector<std::tuple<int32_t, int32_t, int32_t>>{
           {0, 2, 8}, {2, 0, 8}, {-1, 2, 8}, {2, -1, 8}, {2, 2, 7}, {INT32_MAX, 1, INT32_MAX}}) {
    EXPECT_EQ(Convert(width, height, rowBytes, kRawPixels), nullptr);
  }
  EXPECT_THAT(layer.calls, IsEmpty());
}

}  // namespace
}  // namespace qrv::passthrough
