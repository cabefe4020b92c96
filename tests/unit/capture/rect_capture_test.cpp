#include "tests/unit/capture/capture_test.h"

namespace qrv::fakes {
namespace {

class RectCapture : public CaptureTest {
 protected:
  // 1440 x 900 and 1280 x 1024 beside it, and a request across the border.
  void UseLargeDisplays() { stage.displays = {{11, 0, 0, 1440, 900}, {12, 1440, 0, 1280, 1024}}; }
};

TEST_F(RectCapture, CallsNothingForAnEmptyRequest) {
  for (const auto& [width, height] :
       std::vector<std::pair<int32_t, int32_t>>{{0, 5}, {5, 0}, {-1, 5}, {5, INT32_MIN}}) {
    EXPECT_EQ(ScreenshotRectQRV(1, 1, width, height), nullptr);
  }
  EXPECT_THAT(stage.calls, IsEmpty());
}

TEST_F(RectCapture, ComposesDisplayImagesOfEachShare) {
  UseLargeDisplays();
  ExpectShows(ScreenshotRectQRV(1400, 100, 100, 50), 1400, 100, 100, 50);
  EXPECT_THAT(
      CallsOf({"Gestalt", "CGGetActiveDisplayList", "CGColorSpaceCreateDeviceRGB",
               "CGBitmapContextCreate", "CGContextClearRect", "CGDisplayCreateImageForRect",
               "CGContextDrawImage", "CGImageRelease", "CGBitmapContextCreateImage",
               "CGContextRelease", "CGColorSpaceRelease"}),
      ElementsAre("Gestalt sys1", "Gestalt sys2", "CGGetActiveDisplayList 32",
                  "CGColorSpaceCreateDeviceRGB", "CGBitmapContextCreate 100 50 8 400 6 own memory",
                  "CGContextClearRect 0 0 100 50", "CGDisplayCreateImageForRect 11 1400 100 40 50",
                  "CGContextDrawImage 0 0 40 50", "CGImageRelease",
                  "CGDisplayCreateImageForRect 12 0 100 60 50", "CGContextDrawImage 40 0 60 50",
                  "CGImageRelease", "CGBitmapContextCreateImage",
                  "CGBitmapContextCreate 100 50 8 400 6", "CGContextDrawImage 0 0 100 50",
                  "CGContextRelease", "CGImageRelease", "CGContextRelease", "CGColorSpaceRelease"));
}

TEST_F(RectCapture, ReadsEachShareBackThroughOpenGL) {
  UseLargeDisplays();
  UseOpenGL();
  ExpectShows(ScreenshotRectQRV(1400, 100, 100, 50), 1400, 100, 100, 50);
  const auto share = [](const std::string& mask, const std::string& area) {
    return std::vector<std::string>{"CGLChoosePixelFormat 54 84 " + mask + " 0",
                                    "CGLCreateContext",
                                    "CGLDestroyPixelFormat",
                                    "CGLSetCurrentContext",
                                    "CGLSetFullScreen",
                                    "CGLSetCurrentContext",
                                    "glReadBuffer 1028",
                                    "glFinish",
                                    "glPixelStorei 3333 4",
                                    "glPixelStorei 3330 0",
                                    "glPixelStorei 3331 0",
                                    "glPixelStorei 3332 0",
                                    "glReadPixels " + area + " 32993 33639",
                                    "CGLDestroyContext"};
  };
  std::vector<std::string> expected = share("1", "1400 750 40 50");
  for (const std::string& call : share("2", "0 874 60 50")) expected.push_back(call);
  EXPECT_EQ(CallsOf({"CGLChoosePixelFormat", "CGLCreateContext", "CGLDestroyPixelFormat",
                     "CGLSetCurrentContext", "CGLSetFullScreen", "glReadBuffer", "glFinish",
                     "glPixelStorei", "glReadPixels", "CGLDestroyContext"}),
            expected);
}

TEST_F(RectCapture, CopiesEachShareFromItsDevice) {
  UseLargeDisplays();
  UseQuickDraw();
  ExpectShows(ScreenshotRectQRV(1400, 100, 100, 50), 1400, 100, 100, 50);
  EXPECT_THAT(
      CallsOf({"GetDeviceList", "NewGWorld", "GetPort", "SetGWorld", "GetQDGlobalsBlack",
               "FillRect", "ForeColor", "BackColor", "CopyBits", "GetNextDevice", "SetPort",
               "GetPortBounds"}),
      ElementsAre("GetDeviceList", "NewGWorld 32 {0 0 50 100} 0", "GetPort", "SetGWorld",
                  "GetQDGlobalsBlack", "FillRect {0 0 50 100}", "ForeColor 33", "BackColor 30",
                  "CopyBits {100 1400 150 1440} {0 0 50 40} 0", "GetNextDevice", "ForeColor 33",
                  "BackColor 30", "CopyBits {100 1440 150 1500} {0 40 50 100} 0", "GetNextDevice",
                  "SetPort", "GetPortBounds"));
}

TEST_F(RectCapture, PutsSharesInTheirPlaceByEveryStrategy) {
  const std::vector<std::vector<int>> requests = {{-7, -9, 90, 70}, {35, -5, 10, 60},
                                                  {3, 4, 1, 1},     {500, 500, 9, 9},
                                                  {-9, -9, 9, 9},   {63, 44, 1, 1}};
  for (const auto& r : requests) {
    UseDisplayImages();
    ExpectShows(ScreenshotRectQRV(r[0], r[1], r[2], r[3]), r[0], r[1], r[2], r[3]);
    UseOpenGL();
    ExpectShows(ScreenshotRectQRV(r[0], r[1], r[2], r[3]), r[0], r[1], r[2], r[3]);
  }
  UseQuickDraw();
  for (const auto& r : requests) {
    ExpectShows(ScreenshotRectQRV(r[0], r[1], r[2], r[3]), r[0], r[1], r[2], r[3]);
    EXPECT_EQ(CurrentPort()->pixMapPointer, nullptr) << "the port from before is current again";
  }
}

TEST_F(RectCapture, DrawsDenserDisplaysAtTheirPixelSizeAndClipsThem) {
  stage.displays = {{11, 0, 0, 40, 30, 8, 3, 32, 2}};
  REALpictureStruct* picture = ScreenshotRectQRV(10, 10, 20, 16);
  ASSERT_NE(picture, nullptr);
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 20; ++x) {
      ASSERT_EQ(Colour(picture, x, y), ScreenColour(10 + x / 2, 10 + y / 2));
    }
  }
  ExpectSolePicture(picture);
}

TEST_F(RectCapture, IsFinalOnceDisplayImagesAreChosen) {
  for (const char* step : {"CGGetActiveDisplayList", "CGColorSpaceCreateDeviceRGB",
                           "CGBitmapContextCreate", "CGBitmapContextCreateImage", "newPicture"}) {
    stage.ClearRecord();
    stage.refused = {step};
    EXPECT_EQ(ScreenshotRectQRV(0, 0, 8, 8), nullptr) << step;
    EXPECT_THAT(CallsOf({"glReadPixels", "CopyBits"}), IsEmpty());
    ExpectNothingHeld();
  }
  stage.refused = {"CGDisplayCreateImageForRect"};  // contributes nothing
  REALpictureStruct* picture = ScreenshotRectQRV(0, 0, 8, 8);
  EXPECT_EQ(Colour(picture, 4, 4), 0U);
  ExpectSolePicture(picture);
}

TEST_F(RectCapture, HandsOverToQuickDrawWhenOpenGLYieldsNothing) {
  UseOpenGL();
  stage.displays[1].bitsPerSample = 5;
  ExpectShows(ScreenshotRectQRV(0, 0, 70, 20), 0, 0, 70, 20);
  EXPECT_THAT(CallsOf({"CGLChoosePixelFormat"}), IsEmpty());
  stage.displays[1].bitsPerSample = 8;
  stage.refused = {"CGGetActiveDisplayList"};
  ExpectShows(ScreenshotRectQRV(0, 0, 70, 20), 0, 0, 70, 20);
  // One that is skipped leaves its share as the picture was made.
  stage.refused = {"CGLCreateContext"};
  stage.ClearRecord();
  REALpictureStruct* picture = ScreenshotRectQRV(0, 0, 8, 8);
  EXPECT_EQ(Colour(picture, 4, 4), 0U);
  EXPECT_THAT(CallsOf({"CopyBits"}), IsEmpty());
  ExpectSolePicture(picture);
}

TEST_F(RectCapture, TakesTheLimitsOfEveryInteger) {
  const std::vector<int32_t> sides = {1, 32767, 32768, 65535, 65536, 65537, INT32_MAX};
  const std::vector<int32_t> origins = {INT32_MIN, -32769, -1, 0, 32767, 32768, INT32_MAX};
  for (const int minor : {6, 4}) {
    stage.systemMinor = minor;
    for (const int32_t width : sides) {
      for (const int32_t origin : origins) {
        stage.ClearRecord();
        REALpictureStruct* picture = ScreenshotRectQRV(origin, origin, width, 1);
        if (picture != nullptr) ReleasePicture(picture);
        EXPECT_EQ(picture != nullptr, (width & 0xFFFF) >= 1 && (width & 0xFFFF) <= 32767)
            << origin << " " << width;
        ExpectNothingHeld();
      }
    }
  }
}

}  // namespace
}  // namespace qrv::fakes
