#include <limits>

#include "platform/desktop/session.h"
#include "platform/desktop/test_card.h"
#include "tests/unit/platform/coregraphics/bitmap.h"
#include "tests/unit/platform/coregraphics/display_test.h"

namespace {

using qrv::desktop::TestCardPixel;

class DisplayImages : public DisplayTest {
 protected:
  // An image of a part, in units, of a display of 100 x 80 units and 200 x 160 pixels.
  static Image ImageOfPart(CGRect part) {
    const CGDirectDisplayID display = Show("64x64+0+0,100x80+64+0*2")[1];
    return Image(CGDisplayCreateImageForRect(display, part));
  }

  // Whether the image shows that display's card from the pixel (x, y) on.
  static void ExpectCardFrom(const CGImage& image, int32_t x, int32_t y) {
    for (size_t row = 0; row < image.height; ++row) {
      for (size_t column = 0; column < image.width; ++column) {
        const uint32_t color = TestCardPixel(1, 200, 160, x + static_cast<int32_t>(column),
                                             y + static_cast<int32_t>(row));
        const uint8_t* pixel = image.pixels + row * image.bytesPerRow + column * 4;
        const Pixel seen = kBgrx.Read(pixel);
        ASSERT_EQ(uint32_t{seen.red} << 16 | uint32_t{seen.green} << 8 | seen.blue, color)
            << column << ", " << row;
      }
    }
  }
};

TEST_F(DisplayImages, ShowTheWholeDisplayInItsPixels) {
  const CGDirectDisplayID display = Show("64x64+0+0,100x80+64+0*2")[1];
  QRVTakeReaders();
  const Image image(CGDisplayCreateImage(display));
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(CGImageGetWidth(image.get()), 200U);
  EXPECT_EQ(CGImageGetHeight(image.get()), 160U);
  ExpectCardFrom(*image, 0, 0);
  EXPECT_EQ(QRVTakeReaders(), static_cast<unsigned>(qrv::desktop::Reader::kDisplayImage));
}

TEST_F(DisplayImages, CoverThePixelsThatAPartTouches) {
  struct Case {
    CGRect part;
    int32_t x, y;
    size_t width, height;
  };
  constexpr CGFloat kMax = std::numeric_limits<float>::max();
  const Case cases[] = {
      {{{10, 20}, {30, 40}}, 20, 40, 60, 80},
      {{{10.25, 20.5}, {0.5, 0.25}}, 20, 41, 2, 1},  // rounded outwards
      {{{40, 60}, {-30, -40}}, 20, 40, 60, 80},
      {{{-5, -5}, {10, 10}}, 0, 0, 10, 10},
      {{{95, 75}, {10, 10}}, 190, 150, 10, 10},
      {{{-kMax / 2, -kMax / 2}, {kMax, kMax}}, 0, 0, 200, 160},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(testing::Message() << each.part.origin.x << ", " << each.part.origin.y);
    const Image image = ImageOfPart(each.part);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(CGImageGetWidth(image.get()), each.width);
    EXPECT_EQ(CGImageGetHeight(image.get()), each.height);
    ExpectCardFrom(*image, each.x, each.y);
  }
}

TEST_F(DisplayImages, AreNullForAPartThatDoesNotMeetTheDisplay) {
  constexpr CGFloat kInfinity = std::numeric_limits<CGFloat>::infinity();
  constexpr CGFloat kNaN = std::numeric_limits<CGFloat>::quiet_NaN();
  const CGRect cases[] = {{{100, 0}, {10, 10}},      {{-10, 0}, {10, 10}},
                          {{0, 80}, {10, 10}},       {{0, -10}, {10, 10}},
                          {{10.25, 10}, {0, 10}},    {{10, 10.25}, {10, 0}},
                          {{1e30F, 0}, {1e30F, 10}}, {{kNaN, 0}, {10, 10}},
                          {{0, 0}, {10, kNaN}},      {{kInfinity, kInfinity}, {0, 0}}};
  for (const CGRect& each : cases) {
    EXPECT_EQ(ImageOfPart(each), nullptr) << each.origin.x << ", " << each.origin.y;
  }
}

}  // namespace
