
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

// Any numbers, or ones that nearly fit: nil exactly where there are too few bytes or no picture has
// the size. Hosts before 2013.0 have the string read in place, and need not have what copies it;
// the older services come first, because what is bound is kept.
TEST_F(RawPixels, AreNilOrWhatTheStringSays) {
  HostOptions kind;
  for (const double version : {2012.99, 2013.0, 2013.03}) {
    kind.version = version;
    kind.missing = {version < 2013.0 ? "StringGetCString" : "PluginGetStringData"};
    if (version > 2013.0) kind.missing.clear();
    Use(kind);
    EXPECT_EQ(ScreenshotFromStringQRV(2, 2, 8, nullptr), nullptr);
    EXPECT_EQ(Convert(32768, 1, 131072, std::string(131072, 'x')), nullptr);
    // 32767 rows of 131076 bytes have the size of nearly nothing in 32 bits.
    EXPECT_EQ(Convert(1, 32767, 131076, "sixteen bytes...."), nullptr);
    for (int i = 0; i < 3000; ++i) {
      const int32_t width = PickAny(0, 12), height = PickAny(0, 12);
      const bool isNear = Pick(0, 7) != 0;
      const auto rowBytes =
          static_cast<int32_t>(isNear ? int64_t{width} * 4 + Pick(-1, 16) : PickAny(0, 64));
      const int64_t all = int64_t{rowBytes} * height;
      const bool isExact = all > 0 && all < 5000 && Pick(0, 1) == 0;
      std::string bytes(static_cast<size_t>(isExact ? all + Pick(-1, 1) : Pick(0, 700)), '\0');
      for (char& byte : bytes) byte = static_cast<char>(Pick(0, 255));
      REALpictureStruct* picture = Convert(width, height, rowBytes, bytes);
      const bool fits = std::min(width, height) > 0 && std::max(width, height) <= 32767 &&
                        rowBytes >= int64_t{width} * 4 && all <= static_cast<int64_t>(bytes.size());
      ASSERT_EQ(picture != nullptr, fits)
          << width << " x " << height << ", " << rowBytes << ", " << bytes.size();
      if (picture == nullptr) continue;
      Bytes expected;
      for (int32_t at = 0; at < width * height; ++at) {
        const int32_t from = (height - 1 - at / width) * rowBytes + at % width * 4;
        uint32_t colour = 0;
        memcpy(&colour, bytes.data() + from, sizeof colour);
        for (const uint8_t byte : Stored(colour)) expected.push_back(byte);
      }
      ExpectIs(picture, expected);
      ClearRecord();
    }
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
