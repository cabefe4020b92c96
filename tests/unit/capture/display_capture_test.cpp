#include "tests/unit/capture/capture_test.h"

namespace qrv::fakes {
namespace {

class DisplayCapture : public CaptureTest {
 protected:
  // Which facilities were asked for pixels, in order.
  std::vector<std::string> Sources() const {
    return CallsOf({"CGDisplayCreateImage", "glReadPixels", "CopyBits"});
  }
};

TEST_F(DisplayCapture, ShowsTheMainDisplayByEveryStrategy) {
  UseDisplayImages();
  ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
  EXPECT_THAT(Sources(), ElementsAre("CGDisplayCreateImage 11"));
  stage.ClearRecord();
  UseOpenGL();
  ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
  EXPECT_THAT(Sources(), ElementsAre("glReadPixels 0 0 40 30 32993 33639"));
  stage.ClearRecord();
  UseQuickDraw();
  ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
  EXPECT_THAT(Sources(), ElementsAre("CopyBits {0 0 30 40} {0 0 30 40} 0"));
}

TEST_F(DisplayCapture, ShowsTheDisplayOfAnIndexByEveryStrategy) {
  UseDisplayImages();
  ExpectShows(ScreenshotDisplayQRV(1), 40, -5, 24, 50);
  UseOpenGL();
  ExpectShows(ScreenshotDisplayQRV(1), 40, -5, 24, 50);
  UseQuickDraw();
  ExpectShows(ScreenshotDisplayQRV(1), 40, -5, 24, 50);
  EXPECT_THAT(CallsOf({"CopyBits"}), ElementsAre("CopyBits {-5 40 45 64} {0 0 50 24} 0"));
}

TEST_F(DisplayCapture, TestsBothNumbersOfTheSystemVersion) {
  struct Case {
    int major, minor;
    bool displayImages;
  };
  for (const Case& c : {Case{10, 7, true}, Case{10, 6, false}, Case{9, 9, false},
                        Case{11, 0, false}, Case{11, 7, true}}) {
    stage.ClearRecord();
    stage.systemMajor = c.major;
    stage.systemMinor = c.minor;
    ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
    EXPECT_EQ(Sources().front().starts_with("CGDisplayCreateImage"), c.displayImages)
        << c.major << "." << c.minor;
  }
}

TEST_F(DisplayCapture, EndsWithADisplayImageThatCannotBeConverted) {
  stage.refused = {"newPicture"};
  EXPECT_EQ(ScreenshotQRV(), nullptr);
  EXPECT_THAT(Sources(), ElementsAre("CGDisplayCreateImage 11"));
  ExpectNothingHeld();
}

TEST_F(DisplayCapture, GoesOnToTheNextStrategyWithoutADisplayImage) {
  stage.refused = {"CGDisplayCreateImage"};
  ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
  stage.refused = {"CGDisplayCreateImage", "CGLChoosePixelFormat"};
  ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
  EXPECT_EQ(Sources().back(), "CopyBits {0 0 30 40} {0 0 30 40} 0");
}

TEST_F(DisplayCapture, AsksForDisplayZeroWhenNoDisplayHasTheIndex) {
  for (const int32_t index : {2, 31, 32, INT32_MAX}) {
    stage.ClearRecord();
    EXPECT_EQ(ScreenshotDisplayQRV(index), nullptr) << index;
    EXPECT_THAT(CallsOf({"CGGetActiveDisplayList"}).size(), index < 32 ? 1U : 0U);
    EXPECT_EQ(Sources().front(), "CGDisplayCreateImage 0");
    ExpectNothingHeld();
  }
  stage.refused = {"CGGetActiveDisplayList"};
  stage.ClearRecord();
  ExpectShows(ScreenshotDisplayQRV(1), 40, -5, 24,
              50);  // by QuickDraw, which counts its own devices
  EXPECT_EQ(Sources().front(), "CGDisplayCreateImage 0");
}

TEST_F(DisplayCapture, TakesTheFirstDeviceForANegativeIndex) {
  ExpectShows(ScreenshotDisplayQRV(-1), 0, 0, 40, 30);
  EXPECT_THAT(CallsOf({"CGGetActiveDisplayList", "GetNextDevice"}), IsEmpty());
}

TEST_F(DisplayCapture, CopiesTheDeviceInOrder) {
  UseQuickDraw();
  ExpectShows(ScreenshotQRV(), 0, 0, 40, 30);
  EXPECT_THAT(CallsOf({"GetMainDevice", "NewGWorld", "ForeColor", "BackColor",
                       "GetPortBitMapForCopyBits", "CopyBits", "SetGWorld", "GetPortBounds"}),
              ElementsAre("GetMainDevice", "NewGWorld 32 {0 0 30 40} 0", "ForeColor 33",
                          "BackColor 30", "GetPortBitMapForCopyBits",
                          "CopyBits {0 0 30 40} {0 0 30 40} 0", "GetPortBounds"));
}

TEST_F(DisplayCapture, IsNilForADeviceWhoseDepthIsNotConverted) {
  UseQuickDraw();
  stage.displays[0].depth = 16;
  EXPECT_EQ(ScreenshotQRV(), nullptr);
  EXPECT_THAT(CallsOf({"NewGWorld"}), ElementsAre("NewGWorld 16 {0 0 30 40} 0"));
  ExpectNothingHeld();
}

TEST_F(DisplayCapture, BuildsThePictureWithoutACopyThatCannotBeBound) {
  UseQuickDraw();
  stage.missing = {"CopyBits"};
  REALpictureStruct* picture = ScreenshotQRV();
  EXPECT_EQ(Colour(picture, 3, 3), 0U);
  ExpectSolePicture(picture);
}

}  // namespace
}  // namespace qrv::fakes
