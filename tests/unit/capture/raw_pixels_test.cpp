#include "plugin/capture/methods.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class RawPixels : public PluginTest {
 protected:
  void ExpectNumbers(int32_t itsWidth, int32_t itsHeight, int32_t itsRowBytes) {
    EXPECT_EQ(width, itsWidth);
    EXPECT_EQ(height, itsHeight);
    EXPECT_EQ(rowBytes, itsRowBytes);
    width = height = rowBytes = 7;
  }

  int32_t width = 7, height = 7, rowBytes = 7;
};

TEST_F(RawPixels, LeaveTheNumbersZeroWhenNothingWasRead) {
  for (const char* step : {"CGLChoosePixelFormat", "CGLCreateContext", "glGetIntegerv", "calloc"}) {
    layer.refused = {step};
    EXPECT_EQ(ScreenshotStringQRV(width, height, rowBytes), nullptr) << step;
    ExpectNumbers(0, 0, 0);
  }
  layer.refused.clear();
  // 2^32 bytes and more.
  seam::glGetIntegerv.answer = [](GLenum, GLint* values) { values[2] = values[3] = 32769; };
  EXPECT_EQ(ScreenshotStringQRV(width, height, rowBytes), nullptr);
  ExpectNumbers(0, 0, 0);
  seam::glGetIntegerv.answer = nullptr;
  for (const int32_t index : {-1, 2, 31, 32, INT32_MAX}) {
    EXPECT_EQ(ScreenshotStringDisplayQRV(width, height, rowBytes, index), nullptr) << index;
    ExpectNumbers(0, 0, 0);
  }
}

TEST_F(RawPixels, TellTheSizeEvenWhenTheHostBuildsNoString) {
  layer.refused = {"REALBuildString"};
  EXPECT_EQ(ScreenshotStringDisplayQRV(width, height, rowBytes, 1), nullptr);
  ExpectNumbers(9, 14, 36);
  layer.refused.clear();
  REALstringStruct* string = ScreenshotStringQRV(width, height, rowBytes);
  ExpectNumbers(13, 9, 52);
  EXPECT_EQ(runtime::Host::Encoding(string), kRawBytesEncoding);
  host->Release(string);
}

class FromRawPixels : public PluginTest {
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

// In place on hosts before 2013.0, which need not have what copies a string.
TEST_F(FromRawPixels, AreReadInTheWayOfTheHost) {
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

TEST_F(FromRawPixels, RefuseNumbersThatDoNotFitWithoutTouchingTheString) {
  for (const auto& [width, height, rowBytes] : std::vector<std::tuple<int32_t, int32_t, int32_t>>{
           {0, 2, 8}, {2, 0, 8}, {-1, 2, 8}, {2, -1, 8}, {2, 2, 7}, {INT32_MAX, 1, INT32_MAX}}) {
    EXPECT_EQ(Convert(width, height, rowBytes, kRawPixels), nullptr);
  }
  EXPECT_THAT(layer.calls, IsEmpty());
}

}  // namespace
}  // namespace qrv::passthrough
