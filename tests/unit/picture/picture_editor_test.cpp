#include "picture/picture_editor.h"

#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

using Bytes = std::vector<uint8_t>;

class Editor : public PluginTest {
 protected:
  void TearDown() override {
    if (picture != nullptr) ReleasePicture(picture);
    ExpectNothingHeld();
  }

  // Binds a writer to a new picture of 5 x 3; the record begins there.
  bool Bind(PictureWriter& writer) {
    picture = MakePicture(5, 3);
    stage.calls.clear();
    return writer.GetPictureEditor(picture, 0, 0);
  }

  REALpictureStruct* picture = nullptr;
};

TEST_F(Editor, WritesAPixelInTheLayoutOfThePicture) {
  struct Case {
    Application application;
    uint32_t alphaInfo;
    int32_t format;
    Bytes pixel;
  };
  const Bytes last = {10, 20, 30, 255};
  const Bytes first = {255, 10, 20, 30};
  for (const Case& c :
       {Case{Application::kDesktop, 1, 1, last}, Case{Application::kDesktop, 2, 2, first},
        Case{Application::kDesktop, 3, 3, last}, Case{Application::kDesktop, 4, 4, first},
        Case{Application::kDesktop, 5, 5, last}, Case{Application::kDesktop, 6, 6, first},
        Case{Application::kConsole, 0, 8, {30, 20, 10, 0}},
        Case{Application::kWeb, 0, 8, {30, 20, 10, 0}}}) {
    Use(c.application);
    stage.contextAlphaInfo = c.alphaInfo;
    PictureWriter writer;
    ASSERT_TRUE(Bind(writer));
    EXPECT_EQ(writer.pixelFormat, c.format);
    EXPECT_EQ(writer.width, 5);
    EXPECT_EQ(writer.height, 3);
    writer.MoveToRow(2);
    writer.WritePixel(10, 20, 30);
    EXPECT_EQ(writer.cursor, writer.RowStart(2) + 4);
    writer.NextRow();  // past the last row
    EXPECT_EQ(writer.cursor, writer.RowStart(0));
    ReleasePicture(writer.RenderPictureWriter());
    EXPECT_EQ(PixelBytes(picture, 0, 2), c.pixel);
    ReleasePicture(picture);
    picture = nullptr;
  }
}

TEST_F(Editor, StoresNothingInALayoutThatNoPictureHas) {
  PictureWriter writer;
  uint8_t bytes[4] = {9, 9, 9, 9};
  for (const int32_t format : {0, 7, 9, -1}) {
    writer.pixelFormat = format;
    writer.cursor = bytes;
    writer.WritePixel(1, 2, 3);
    EXPECT_EQ(writer.cursor, bytes);
    EXPECT_THAT(bytes, ElementsAre(9, 9, 9, 9));
  }
}

TEST_F(Editor, AsksTheHostInOrderToBindAndToHandThePictureOut) {
  {
    PictureWriter writer;
    ASSERT_TRUE(Bind(writer));
    EXPECT_THAT(
        Calls(),
        ElementsAre("pluginObjectType Application", "pluginObjectType WebApplication",
                    "pluginObjectType ConsoleApplication", "REALGetPropValueBool HasAlphaChannel",
                    "REALLockPictureDescription 8", "REALLockObject picture"));
    stage.calls.clear();
    EXPECT_EQ(writer.RenderPictureWriter(), picture);
    EXPECT_THAT(Calls(), ElementsAre("REALLockObject picture", "REALPictureClearCache",
                                     "unlockPictureDescription", "REALPictureClearCache",
                                     "REALUnlockObject picture"));
    stage.calls.clear();
    EXPECT_EQ(writer.RenderPictureWriter(), nullptr);
  }
  EXPECT_THAT(Calls(), IsEmpty());
  ReleasePicture(picture);
}

TEST_F(Editor, ReleasesThePictureWhenItIsDestroyedUnrendered) {
  {
    PictureWriter writer;
    ASSERT_TRUE(Bind(writer));
    stage.calls.clear();
  }
  EXPECT_THAT(Calls(), ElementsAre("unlockPictureDescription", "REALPictureClearCache",
                                   "REALUnlockObject picture"));
}

TEST_F(Editor, ReleasesTheOldPictureWhenBoundAgain) {
  PictureWriter writer;
  ASSERT_TRUE(Bind(writer));
  stage.calls.clear();
  EXPECT_FALSE(writer.GetPictureEditor(nullptr, 0, 0));
  EXPECT_THAT(Calls(), ElementsAre("unlockPictureDescription", "REALPictureClearCache",
                                   "REALUnlockObject picture"));
  EXPECT_FALSE(writer.GetPictureEditor(nullptr, 0, 0));
  EXPECT_EQ(Calls().size(), 3U);
}

TEST_F(Editor, RefusesABitmapContextThatItCannotWrite) {
  const auto expectRefused = [this](const std::string& why) {
    PictureWriter writer;
    EXPECT_FALSE(writer.GetPictureEditor(picture, 0, 0)) << why;
    EXPECT_EQ(writer.picture, nullptr);
    EXPECT_EQ(stage.calls.back(), "unlockPictureDescription") << why;
  };
  picture = MakePicture(5, 3);
  CGContext& context = *ObjectOf(picture)->context;
  for (const uint32_t alphaInfo : {0U, 7U}) {
    context.alphaInfo = alphaInfo;
    expectRefused("alpha info");
  }
  stage.picturesHaveAlpha = true;
  for (const uint32_t alphaInfo : {3U, 4U, 5U, 6U}) {
    context.alphaInfo = alphaInfo;
    expectRefused("alpha info of a picture with alpha");
  }
  context.alphaInfo = 1;
  for (const size_t bits : {24U, 64U}) {
    context.bitsPerPixel = bits;
    expectRefused("bits per pixel");
  }
}

TEST_F(Editor, RefusesAConsoleImageThatIsNotTrueColour) {
  Use(Application::kConsole);
  picture = MakePicture(5, 3);
  const ConsoleImage good = ObjectOf(picture)->console;
  unsigned char* palette = nullptr;
  ConsoleImage withPalette = good;
  withPalette.pixels = &palette;
  ConsoleImage notTrueColour = good;
  notTrueColour.trueColor = 0;
  ConsoleImage noRows = good;
  noRows.tpixels = nullptr;
  for (const ConsoleImage& bad : {withPalette, notTrueColour, noRows}) {
    ObjectOf(picture)->console = bad;
    PictureWriter writer;
    EXPECT_FALSE(writer.GetPictureEditor(picture, 0, 0));
    EXPECT_EQ(stage.calls.back(), "unlockPictureDescription");
  }
}

TEST_F(Editor, GivesARefusedLockBackOnHostsBefore2012) {
  struct Case {
    double version;
    Application application;  // of the process
    std::vector<std::string> calls;
  };
  const std::string lock8 = "REALLockPictureDescription 8";
  const std::string lock10 = "REALLockPictureDescription 10";
  const std::string unlock = "unlockPictureDescription";
  for (const Case& c : {Case{2011.99, Application::kDesktop, {lock8, unlock}},
                        Case{2012.0, Application::kDesktop, {lock8}},
                        Case{2011.99, Application::kWeb, {lock10, unlock}},
                        Case{2012.0, Application::kWeb, {lock10}},
                        // Of a kind that is not known both forms are asked for.
                        Case{2011.99, Application::kNone, {lock8, unlock, lock10, unlock}},
                        Case{2012.0, Application::kNone, {lock8, lock10}}}) {
    Use(c.application, c.version);
    stage.refused = {"REALLockPictureDescription"};
    PictureWriter writer;
    EXPECT_FALSE(Bind(writer));
    EXPECT_EQ(CallsOf({"REALLockPictureDescription", "unlockPictureDescription"}), c.calls)
        << c.version;
    ReleasePicture(picture);
    picture = nullptr;
  }
}

TEST_F(Editor, LearnsTheKindOfApplicationFromTheFirstGrantedLock) {
  Use(Application::kNone);  // grants bitmap contexts, but has none of the classes
  {
    PictureWriter writer;
    ASSERT_TRUE(Bind(writer));
    EXPECT_TRUE(IsDesktop);
    EXPECT_FALSE(IsConsole);
  }
  stage.calls.clear();
  PictureWriter writer;
  stage.refused = {"REALLockPictureDescription"};
  EXPECT_FALSE(writer.GetPictureEditor(picture, 0, 0));
  EXPECT_THAT(CallsOf({"pluginObjectType", "REALLockPictureDescription"}),
              ElementsAre("REALLockPictureDescription 8"));
}

}  // namespace
}  // namespace qrv::fakes
