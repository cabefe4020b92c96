#include "capture/opengl_readback.h"
#include "tests/unit/capture/capture_test.h"

namespace qrv::fakes {
namespace {

class RawPixels : public CaptureTest {
 protected:
  void ExpectNumbers(int32_t expectedWidth, int32_t expectedHeight,
                     int32_t expectedRowBytes) const {
    EXPECT_EQ(width, expectedWidth);
    EXPECT_EQ(height, expectedHeight);
    EXPECT_EQ(rowBytes, expectedRowBytes);
  }

  int32_t width = 7, height = 7, rowBytes = 7;
};

TEST_F(RawPixels, AreTheDisplaysRowsFromTheBottomUpward) {
  stage.displays[0] = {11, 0, 0, 1440, 900};
  REALstringStruct* string = ScreenshotStringQRV(width, height, rowBytes);
  ASSERT_NE(string, nullptr);
  ExpectNumbers(1440, 900, 5760);
  EXPECT_EQ(string->encoding, 0xFFFFU);
  const std::string bytes = string->bytes.substr(1);
  ASSERT_EQ(bytes.size(), 5184000U);
  const uint32_t colour = ScreenColour(0, 899);  // bottom left
  EXPECT_EQ(bytes.substr(0, 4),
            std::string({static_cast<char>(colour), static_cast<char>(colour >> 8),
                         static_cast<char>(colour >> 16), 0x5A}));
  ReleaseString(string);
  ExpectNothingHeld();
}

TEST_F(RawPixels, AreReadInOrderAndTheContextDestroyedBeforeTheStringIsBuilt) {
  ReleaseString(ScreenshotStringDisplayQRV(width, height, rowBytes, 1));
  EXPECT_THAT(
      Calls(),
      ElementsAre("CGGetActiveDisplayList 32", "CGLChoosePixelFormat 54 84 2 0", "CGLCreateContext",
                  "CGLDestroyPixelFormat", "CGLSetCurrentContext", "CGLSetFullScreen",
                  "CGLSetCurrentContext", "glReadBuffer 1028", "glGetIntegerv 2978", "glFinish",
                  "glPixelStorei 3333 4", "glPixelStorei 3330 0", "glPixelStorei 3331 0",
                  "glPixelStorei 3332 0", "glReadPixels 0 0 24 50 32993 33639", "CGLDestroyContext",
                  "REALBuildString 4800", "REALSetStringEncoding 65535"));
}

TEST_F(RawPixels, LeaveTheNumbersZeroWhenNothingWasRead) {
  for (const char* step : {"CGLChoosePixelFormat", "CGLCreateContext", "glGetIntegerv", "calloc"}) {
    stage.refused = {step};
    width = height = rowBytes = 7;
    EXPECT_EQ(ScreenshotStringQRV(width, height, rowBytes), nullptr) << step;
    ExpectNumbers(0, 0, 0);
    ExpectNothingHeld();
  }
  stage.refused.clear();
  for (const int32_t index : {-1, 2, 31, 32, INT32_MAX}) {
    width = height = rowBytes = 7;
    EXPECT_EQ(ScreenshotStringDisplayQRV(width, height, rowBytes, index), nullptr) << index;
    ExpectNumbers(0, 0, 0);
  }
}

TEST_F(RawPixels, TellTheSizeEvenWhenTheHostBuildsNoString) {
  stage.refused = {"REALBuildString"};
  EXPECT_EQ(ScreenshotStringQRV(width, height, rowBytes), nullptr);
  ExpectNumbers(40, 30, 160);
  stage.refused.clear();
  stage.missing = {"REALSetStringEncoding"};
  REALstringStruct* string = ScreenshotStringQRV(width, height, rowBytes);
  ASSERT_NE(string, nullptr);
  ReleaseString(string);
  ExpectNothingHeld();
}

TEST_F(RawPixels, NeedADisplayModeOfThreeSamplesOfEightBitsOnlyAsAPicture) {
  struct Case {
    int bits, samples;
    bool enough;
  };
  for (const Case& c : {Case{8, 3, true}, Case{10, 3, true}, Case{5, 3, false}, Case{8, 1, false},
                        Case{0, 3, false}, Case{8, 0, false}, Case{16, 4, true}}) {
    stage.ClearRecord();
    stage.displays[0].bitsPerSample = c.bits;
    stage.displays[0].samplesPerPixel = c.samples;
    EXPECT_EQ(Is32bitDisplay(11), c.enough) << c.bits << " " << c.samples;
    REALpictureStruct* picture = GLScreenshotQRV(11);
    EXPECT_EQ(picture != nullptr, c.enough);
    EXPECT_EQ(CallsOf({"CGLChoosePixelFormat"}).size(), c.enough ? 1U : 0U);
    if (picture != nullptr) ExpectShows(picture, 0, 0, 40, 30);
    ReleaseString(ScreenshotStringQRV(width, height, rowBytes));
  }
  EXPECT_FALSE(Is32bitDisplay(0));
}

class FromRawPixels : public PluginTest {
 protected:
  // 2 x 2 with `gap` bytes at the end of each row: bottom row, then top row.
  static std::string TwoByTwo(size_t gap) {
    std::string bytes;
    for (int row = 0; row < 2; ++row) {
      for (int x = 0; x < 2; ++x) {
        const auto pixel = static_cast<char>(1 + row * 2 + x);
        bytes += {pixel, static_cast<char>(pixel + 16), static_cast<char>(pixel + 32), 0x40};
      }
      bytes += std::string(gap, 'g');
    }
    return bytes;
  }

  REALpictureStruct* Convert(int32_t width, int32_t height, int32_t rowBytes, std::string bytes) {
    string = NewHostString(std::move(bytes));
    REALpictureStruct* picture = ScreenshotFromStringQRV(width, height, rowBytes, string);
    EXPECT_EQ(string->references, 1);
    ReleaseString(string);
    return picture;
  }

  REALstringStruct* string = nullptr;
};

TEST_F(FromRawPixels, MakesAnUprightPictureOnEveryHost) {
  for (const double version : {2010.0, 2012.99, 2013.0}) {
    for (const bool olderServices : {false, true}) {
      Use(Application::kDesktop, version);
      stage.ClearRecord();
      stage.missing.clear();
      if (olderServices) stage.missing = {"PluginGetStringData", "PluginDisposeStringData"};
      for (const int32_t gap : {0, 12}) {
        REALpictureStruct* picture =
            Convert(2, 2, 8 + gap, TwoByTwo(static_cast<size_t>(gap)) + "excess");
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(Colour(picture, 0, 0), 0x231303U);
        EXPECT_EQ(Colour(picture, 1, 0), 0x241404U);
        EXPECT_EQ(Colour(picture, 0, 1), 0x211101U);
        EXPECT_EQ(Colour(picture, 1, 1), 0x221202U);
        ExpectSolePicture(picture);
      }
    }
  }
}

TEST_F(FromRawPixels, RefusesNumbersThatDoNotFitWithoutTouchingTheString) {
  for (const auto& [width, height, rowBytes] : std::vector<std::tuple<int32_t, int32_t, int32_t>>{
           {0, 2, 8}, {2, 0, 8}, {-1, 2, 8}, {2, -1, 8}, {2, 2, 7}, {INT32_MAX, 1, INT32_MAX}}) {
    stage.ClearRecord();
    string = NewHostString(TwoByTwo(0));
    EXPECT_EQ(ScreenshotFromStringQRV(width, height, rowBytes, string), nullptr);
    EXPECT_THAT(Calls(), IsEmpty());
    ReleaseString(string);
  }
}

TEST_F(FromRawPixels, RefusesAStringThatIsTooShortAndGivesItBack) {
  for (const double version : {2010.0, 2013.0}) {
    Use(Application::kConsole, version);
    EXPECT_EQ(Convert(2, 2, 8, TwoByTwo(0).substr(0, 15)), nullptr);
    EXPECT_EQ(Convert(32768, 1, 131072, std::string(131072, 'x')), nullptr);
    EXPECT_EQ(Convert(1, INT32_MAX, INT32_MAX, "x"), nullptr);
    EXPECT_EQ(ScreenshotFromStringQRV(2, 2, 8, nullptr), nullptr);
    stage.refused = {"newPicture"};
    EXPECT_EQ(Convert(2, 2, 8, TwoByTwo(0)), nullptr);
    stage.refused = {"PluginGetStringData"};
    if (version >= 2013.0) {
      EXPECT_EQ(Convert(2, 2, 8, TwoByTwo(0)), nullptr);
    }
    stage.refused.clear();
    ExpectNothingHeld();
  }
}

}  // namespace
}  // namespace qrv::fakes
