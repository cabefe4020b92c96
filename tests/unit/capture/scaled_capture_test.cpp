#include "tests/unit/capture/capture_test.h"

namespace qrv::fakes {
namespace {

class ScaledCapture : public CaptureTest {
 protected:
  // Where each device's share went, as recorded.
  std::vector<std::string> Copies() const { return CallsOf({"CopyBits"}); }

  void ExpectBlack(REALpictureStruct* picture) {
    ASSERT_NE(picture, nullptr);
    EXPECT_THAT(Copies(), IsEmpty());
    EXPECT_EQ(Colour(picture, 0, 0), 0U);
    ExpectSolePicture(picture);
  }
};

TEST_F(ScaledCapture, MapsSharesWithoutGapOrOverlap) {
  stage.displays = {{11, 0, 0, 1440, 900}, {12, 1440, 0, 1280, 1024}};
  ExpectSolePicture(ScreenshotRectDestQRV(1400, 100, 100, 50, 200, 100));
  EXPECT_THAT(Copies(), ElementsAre("CopyBits {100 1400 150 1440} {0 0 100 80} 0",
                                    "CopyBits {100 1440 150 1500} {0 80 100 200} 0"));
  stage.ClearRecord();
  ExpectSolePicture(ScreenshotRectDestQRV(0, 0, 3, 3, 2, 2));
  EXPECT_THAT(Copies(), ElementsAre("CopyBits {0 0 3 3} {0 0 2 2} 0"));
  stage.ClearRecord();
  // One column of the first display at the left edge of three scaled to two: it maps to nothing.
  ExpectSolePicture(ScreenshotRectDestQRV(1439, 0, 3, 1, 2, 1));
  EXPECT_THAT(Copies(), ElementsAre("CopyBits {0 1439 1 1440} {0 0 1 0} 0",
                                    "CopyBits {0 1440 1 1442} {0 0 1 2} 0"));
}

TEST_F(ScaledCapture, CopiesUnscaledForEqualSizes) {
  ExpectShows(ScreenshotRectDestQRV(-7, -9, 90, 70, 90, 70), -7, -9, 90, 70);
}

TEST_F(ScaledCapture, IsBlackForAnEmptySource) {
  for (const auto& [width, height] :
       std::vector<std::pair<int32_t, int32_t>>{{0, 5}, {5, 0}, {-5, 5}, {5, -32768}}) {
    stage.ClearRecord();
    ExpectBlack(ScreenshotRectDestQRV(1, 1, width, height, 4, 4));
  }
}

TEST_F(ScaledCapture, IsNilForASizeThatNoWorldHas) {
  stage.missing = {"NewGWorld"};
  EXPECT_EQ(ScreenshotRectDestQRV(0, 0, 5, 5, 5, 5), nullptr);
  stage.missing.clear();
  for (const auto& [width, height] :
       std::vector<std::pair<int32_t, int32_t>>{{0, 5}, {5, 0}, {-1, 5}, {65536, 5}, {32768, 5}}) {
    EXPECT_EQ(ScreenshotRectDestQRV(0, 0, 5, 5, width, height), nullptr);
    ExpectNothingHeld();
  }
}

// Widths of 0 and of -1 that wrap to a source that is not empty reach the division.
TEST_F(ScaledCapture, DoesNotFaultWhateverTheNumbersAre) {
  const std::vector<int32_t> numbers = {INT32_MIN, -65536, -32769, -32768, -1,    0,        1,
                                        7,         32767,  32768,  65535,  65536, INT32_MAX};
  for (const int32_t left : numbers) {
    for (const int32_t width : numbers) {
      for (const int32_t destination : numbers) {
        stage.ClearRecord();
        REALpictureStruct* picture =
            ScreenshotRectDestQRV(left, left, width, width, destination, 1);
        if (picture != nullptr) ReleasePicture(picture);
        ExpectNothingHeld();
      }
    }
  }
}

TEST_F(ScaledCapture, RestoresThePortAndSkipsWhatCannotBeBound) {
  GWorldPtr port = MakeWorld(1, 1, 32);
  SetCurrentPort(port);
  for (const char* missing : {"", "FillRect", "GetQDGlobalsBlack", "ForeColor", "BackColor",
                              "SectRect", "CopyBits", "GetPortBitMapForCopyBits"}) {
    stage.missing = {missing};
    REALpictureStruct* picture = ScreenshotRectDestQRV(0, 0, 5, 5, 5, 5);
    ASSERT_NE(picture, nullptr) << missing;
    EXPECT_EQ(CurrentPort(), port) << missing;
    ReleasePicture(picture);
  }
  EXPECT_THAT(HeldKinds(), ElementsAre("world"));
  SetCurrentPort(nullptr);
  delete port;
}

}  // namespace
}  // namespace qrv::fakes
