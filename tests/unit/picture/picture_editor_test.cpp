#include "plugin/picture/picture_editor.h"

#include "plugin/host/bridge.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

class Editor : public PluginTest {
 protected:
  // A new picture of 5 x 3, of which the record is empty.
  REALpictureStruct* NewPicture() {
    REALpictureStruct* picture = runtime::NewPicture(5, 3, 32);
    ClearRecord();
    return picture;
  }

  // A picture can't be bound, and is given back unlocked.
  void ExpectRefused() {
    PictureWriter writer;
    EXPECT_FALSE(BindOwnPicture(writer, NewPicture()));
    EXPECT_EQ(writer.picture, nullptr);
    EXPECT_EQ(Problems(), "");
  }

  void ExpectRefused(const std::vector<Change>& changes) {
    for (const Change& change : changes) {
      SCOPED_TRACE(&change - changes.data());
      ChangeLocks(1, true, change);
      ExpectRefused();
    }
  }
};

TEST_F(Editor, TellsTheHostThatThePixelsHaveChanged) {
  REALpictureStruct* picture = NewPicture();
  PictureWriter writer;
  ASSERT_TRUE(writer.GetPictureEditor(picture, 0, 0));
  EXPECT_EQ(layer.CallsOf("pluginObjectType"), 3);  // for each kind of application, always
  EXPECT_FALSE(writer.GetPictureEditor(nullptr, 0, 0));
  EXPECT_EQ(writer.picture, nullptr) << "it gives the picture back";
  ASSERT_TRUE(BindOwnPicture(writer, picture));
  writer.MoveToRow(2);
  writer.NextRow();  // past the last row
  EXPECT_EQ(writer.cursor, writer.RowStart(0));
  layer.calls.clear();
  host->Release(writer.RenderPictureWriter());
  std::erase_if(layer.calls, [](const auto& call) { return call.starts_with("look up "); });
  EXPECT_THAT(layer.calls,
              ElementsAre("REALLockObject", "REALPictureClearCache", "unlockPictureDescription",
                          "REALPictureClearCache", "REALUnlockObject"));
  EXPECT_EQ(writer.RenderPictureWriter(), nullptr);
}

TEST_F(Editor, RefusesABitmapContextThatItCannotWrite) {
  uint32_t info = 0;
  seam::CGBitmapContextGetAlphaInfo.answer = [&info](CGContextRef) { return info; };
  for (const bool hasAlpha : {false, true}) {
    HostOptions kind;
    kind.picturesHaveAlpha = hasAlpha;
    Use(kind);
    for (info = 0; info < 8; ++info) {
      SCOPED_TRACE(info);
      if (info == 0 || info > (hasAlpha ? 2 : 6)) {
        ExpectRefused();
        continue;
      }
      PictureWriter writer;
      EXPECT_TRUE(BindOwnPicture(writer, NewPicture()));
      EXPECT_EQ(writer.pixelFormat, static_cast<int32_t>(info));
    }
    info = 1;
    for (const size_t bits : {24U, 64U}) {
      seam::CGBitmapContextGetBitsPerPixel.answer = [bits](CGContextRef) { return bits; };
      ExpectRefused();
    }
    seam::CGBitmapContextGetBitsPerPixel.answer = nullptr;
  }
}

TEST_F(Editor, RefusesADescriptionThatIsNotOfThePicturesForm) {
  seam::CGBitmapContextGetData.answer = [](CGContextRef context) {
    EXPECT_NE(context, nullptr);
    return ::CGBitmapContextGetData(context);
  };
  ExpectRefused({[](auto& out, auto&) { out.pixelType = kPixelTypeConsoleImage; },
                 [](auto& out, auto&) { out.container = nullptr; },
                 [](auto& out, auto& image) { out.container = &image; }});
  Use(ApplicationKind::kConsole);
  unsigned char* palette = nullptr;
  ExpectRefused({[](auto& out, auto&) { out.pixelType = kPixelTypeBitmapContext; },
                 [](auto& out, auto&) { out.container = nullptr; },
                 [&](auto&, auto& image) { image.pixels = &palette; },
                 [](auto&, auto& image) { image.trueColor = 0; },
                 [](auto&, auto& image) { image.tpixels = nullptr; },
                 [](auto&, auto& image) { image.tpixels[1] = nullptr; }});
}

TEST_F(Editor, GivesARefusedLockBackOnHostsBefore2012) {
  seam::pluginObjectType.answer = [](const char*) { return nullptr; };
  layer.refused = {"REALLockPictureDescription"};
  for (const auto& [version, unlocks] : {std::pair{2011.99, 2}, {2012.0, 0}}) {
    options.version = version;
    Use(HostOptions(options));
    PictureWriter writer;
    EXPECT_FALSE(BindOwnPicture(writer, NewPicture()));
    EXPECT_EQ(layer.CallsOf("REALLockPictureDescription"), 2) << "one for each form";
    EXPECT_EQ(layer.CallsOf("unlockPictureDescription"), unlocks) << version;
  }
}

TEST_F(Editor, LearnsTheKindOfApplicationFromTheFirstGrantedLock) {
  for (const ApplicationKind application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    Use(application);
    seam::pluginObjectType.answer = [](const char*) { return nullptr; };
    PictureWriter writer;
    ASSERT_TRUE(BindOwnPicture(writer, NewPicture()));
    EXPECT_EQ(IsDesktop, application == ApplicationKind::kDesktop);
    EXPECT_EQ(IsConsole, application == ApplicationKind::kConsole);
    layer.refused = {"REALLockPictureDescription"};
    PictureWriter second;
    EXPECT_FALSE(BindOwnPicture(second, NewPicture()));
    EXPECT_EQ(layer.CallsOf("pluginObjectType") + layer.CallsOf("REALLockPictureDescription"), 1);
    layer.refused.clear();
  }
}

}  // namespace
}  // namespace qrv::passthrough
