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
  void ExpectRefused(const std::string& why) {
    REALpictureStruct* picture = NewPicture();
    PictureWriter writer;
    EXPECT_FALSE(writer.GetPictureEditor(picture, 0, 0)) << why;
    EXPECT_EQ(writer.picture, nullptr);
    EXPECT_EQ(layer.calls.back(), "unlockPictureDescription") << why;
    host->Release(picture);
    EXPECT_EQ(Problems(), "") << why;
  }

  void ExpectRefused(const std::vector<Change>& changes) {
    for (const Change& change : changes) {
      ChangeLocks(1, true, change);
      ExpectRefused("change " + std::to_string(&change - changes.data()));
    }
  }
};

TEST_F(Editor, TellsTheHostThatThePixelsHaveChanged) {
  const auto expectCalls = [this](const std::vector<std::string>& calls) {
    std::erase_if(layer.calls, [](const auto& call) { return call.starts_with("look up "); });
    EXPECT_EQ(layer.calls, calls);
    layer.calls.clear();
  };
  const char* const unlock = "unlockPictureDescription";
  const char* const clear = "REALPictureClearCache";
  REALpictureStruct* picture = NewPicture();
  PictureWriter writer;
  ASSERT_TRUE(writer.GetPictureEditor(picture, 0, 0));
  EXPECT_EQ(layer.CallsOf("pluginObjectType"), 3);  // for each kind of application, always
  layer.calls.clear();
  EXPECT_FALSE(writer.GetPictureEditor(nullptr, 0, 0));  // gives the picture back
  expectCalls({unlock, clear, "REALUnlockObject"});
  ASSERT_TRUE(BindOwnPicture(writer, picture));
  writer.MoveToRow(2);
  writer.NextRow();  // past the last row
  EXPECT_EQ(writer.cursor, writer.RowStart(0));
  layer.calls.clear();
  host->Release(writer.RenderPictureWriter());
  expectCalls({"REALLockObject", clear, unlock, clear, "REALUnlockObject"});
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
      const std::string why = "alpha info " + std::to_string(info);
      if (info == 0 || info > (hasAlpha ? 2 : 6)) {
        ExpectRefused(why);
        continue;
      }
      PictureWriter writer;
      EXPECT_TRUE(BindOwnPicture(writer, NewPicture())) << why;
      EXPECT_EQ(writer.pixelFormat, static_cast<int32_t>(info));
    }
    info = 1;
    for (const size_t bits : {24U, 64U}) {
      seam::CGBitmapContextGetBitsPerPixel.answer = [bits](CGContextRef) { return bits; };
      ExpectRefused("bits per pixel");
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
  for (const auto& [version, isOlder] : {std::pair{2011.99, 1}, {2012.0, 0}}) {
    // Of a kind that is not known both forms are asked for.
    for (const int locks : {1, 2}) {
      for (const auto application :
           {ApplicationKind::kDesktop, ApplicationKind::kConsole, ApplicationKind::kWeb}) {
        Use(application, version);
        if (locks == 2) seam::pluginObjectType.answer = [](const char*) { return nullptr; };
        layer.refused = {"REALLockPictureDescription"};
        PictureWriter writer;
        EXPECT_FALSE(BindOwnPicture(writer, NewPicture()));
        EXPECT_EQ(layer.CallsOf("REALLockPictureDescription"), locks);
        EXPECT_EQ(layer.CallsOf("unlockPictureDescription"), locks * isOlder) << version;
        seam::pluginObjectType.answer = nullptr;
      }
    }
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
