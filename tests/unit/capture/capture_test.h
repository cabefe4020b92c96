// What the tests of the capture methods share.
#ifndef TESTS_UNIT_CAPTURE_CAPTURE_TEST_H_
#define TESTS_UNIT_CAPTURE_CAPTURE_TEST_H_

#include "capture/methods.h"
#include "tests/unit/plugin_test.h"

namespace qrv::fakes {

class CaptureTest : public PluginTest {
 protected:
  // Small displays, so that pictures are compared whole.
  CaptureTest() { stage.displays = {{11, 0, 0, 40, 30}, {12, 40, -5, 24, 50}}; }

  void UseDisplayImages() { stage.systemMinor = 7; }
  void UseOpenGL() { stage.systemMinor = 6; }
  void UseQuickDraw() {
    stage.systemMinor = 4;
    for (FakeDisplay& display : stage.displays) display.samplesPerPixel = 0;
  }

  // The picture shows the screen from (left, top) on; where no display is, black. Releases it.
  void ExpectShows(REALpictureStruct* picture, int left, int top, int width, int height) const {
    ASSERT_NE(picture, nullptr);
    ASSERT_EQ(ObjectOf(picture)->width, width);
    ASSERT_EQ(ObjectOf(picture)->height, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        ASSERT_EQ(Colour(picture, x, y), Expected(left + x, top + y)) << "at " << x << ", " << y;
      }
    }
    ExpectSolePicture(picture);
  }

  uint32_t Expected(int x, int y) const {
    for (const FakeDisplay& display : stage.displays) {
      if (x >= display.x && y >= display.y && x < display.x + display.width &&
          y < display.y + display.height) {
        return ScreenColour(x, y);
      }
    }
    return 0;
  }
};

}  // namespace qrv::fakes

#endif  // TESTS_UNIT_CAPTURE_CAPTURE_TEST_H_
