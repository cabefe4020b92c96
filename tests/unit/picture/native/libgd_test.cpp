// The console image against the real libgd, whose true-colour image it is.

#include <gd.h>

#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

class LibgdImage : public PluginTest {};

TEST_F(LibgdImage, HoldsThePixelsWhereLibgdReadsThem) {
  Use(Application::kConsole);
  gdImagePtr image = gdImageCreateTrueColor(5, 3);
  ASSERT_NE(image, nullptr);
  REALpictureStruct* picture = MakePicture(5, 3);
  ObjectOf(picture)->container = image;
  {
    PictureWriter writer;
    ASSERT_TRUE(writer.GetPictureEditor(picture, 0, 0));
    for (int y = 0; y < 3; ++y) {
      writer.MoveToRow(y);
      for (uint8_t x = 0; x < 5; ++x) {
        writer.WritePixel(x, static_cast<uint8_t>(y * 100), static_cast<uint8_t>(255 - x));
      }
    }
    ReleasePicture(writer.RenderPictureWriter());
  }
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 5; ++x) {
      EXPECT_EQ(gdImageGetTrueColorPixel(image, x, y), gdTrueColorAlpha(x, y * 100, 255 - x, 0));
    }
  }
  gdImageDestroy(image);
  ReleasePicture(picture);
}

TEST_F(LibgdImage, IsRefusedWhenItHasAPalette) {
  Use(Application::kConsole);
  gdImagePtr image = gdImageCreate(5, 3);
  ASSERT_NE(image, nullptr);
  REALpictureStruct* picture = MakePicture(5, 3);
  ObjectOf(picture)->container = image;
  {
    PictureWriter writer;
    EXPECT_FALSE(writer.GetPictureEditor(picture, 0, 0));
  }
  gdImageDestroy(image);
  ReleasePicture(picture);
}

}  // namespace
}  // namespace qrv::fakes
