// The console image against the real libgd, whose true-colour image it is.

#include <gd.h>

#include "plugin/picture/picture_editor.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class LibgdImage : public PluginTest {};

TEST_F(LibgdImage, HoldsThePixelsWhereLibgdReadsThem) {
  gdImagePtr image = gdImageCreateTrueColor(5, 3);
  ChangeLocks(1, false, [image](auto& out, auto&) { out.container = image; });
  Use(ApplicationKind::kConsole);
  {
    PictureWriter writer;
    ASSERT_TRUE(BindNewPicture(writer, 5, 3));
    for (int y = 0; y < 3; ++y) {
      writer.MoveToRow(y);
      for (uint8_t x = 0; x < 5; ++x) {
        writer.WritePixel(x, static_cast<uint8_t>(y * 100), static_cast<uint8_t>(255 - x));
      }
    }
  }
  for (int i = 0; i < 15; ++i) {
    EXPECT_EQ(gdImageGetTrueColorPixel(image, i % 5, i / 5),
              gdTrueColorAlpha(i % 5, i / 5 * 100, 255 - i % 5, 0));
  }
  gdImageDestroy(image);
}

}  // namespace
}  // namespace qrv::passthrough
