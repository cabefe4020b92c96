#include "plugin/picture/picture_editor.h"

#include "plugin/capture/methods.h"
#include "plugin/host/bridge.h"
#include "plugin/picture/image_picture.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

using runtime::Host;

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

class ImagePicture : public PluginTest {
 protected:
  static REALpictureStruct* Convert(CGImageAlphaInfo alphaInfo, bool hasAlpha = true) {
    CGImage image = ImageOf(alphaInfo, hasAlpha);
    return GetCGImagePicture(&image);
  }

  void ExpectReads(REALpictureStruct* picture, const Bytes& rgba) {
    EXPECT_EQ(Host::Read(picture).rgba, rgba);
    host->Release(picture);
    EXPECT_EQ(Problems(), "");
  }
};

TEST_F(ImagePicture, HasAMaskWhenTheImageCarriesAlphaAndIsOpaqueWhenItCarriesNone) {
  std::vector<const void*> released;
  seam::REALUnlockObject.answer = [&released](REALobjectStruct* object) {
    released.push_back(object);
    runtime::UnlockObject(object);
  };
  for (const ApplicationKind application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    Use(application);
    for (const CGImageAlphaInfo alphaInfo : {1U, 2U, 3U, 4U, 8U, 31U}) {
      ClearRecord();
      REALpictureStruct* picture = Convert(alphaInfo);
      EXPECT_EQ(*(released.end() - 2), Host::Mask(picture)) << "what was copied into it goes last";
      ExpectReads(picture, kDivided);
      // Of both pictures when they are handed out and released, and of a mask that is copied.
      const int copies = application == ApplicationKind::kConsole ? 1 : 0;
      EXPECT_EQ(layer.CallsOf("REALPictureClearCache"), 4 + copies);
    }
    for (const CGImageAlphaInfo alphaInfo : {0U, 5U, 6U, 7U}) {
      REALpictureStruct* picture = Convert(alphaInfo, false);
      EXPECT_EQ(Host::Mask(picture), nullptr) << alphaInfo;
      ExpectReads(picture, Opaque(kImagePixels));
    }
  }
}

// The host says of one picture that it is a pixel smaller each way than it was asked for.
TEST_F(ImagePicture, IsWrittenAsFarAsTheHostSaysThatItGoes) {
  UseSystem(kOpenGL);
  for (const ApplicationKind application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    for (const auto& [isImage, smaller] : {std::pair{false, 1}, {true, 1}, {true, 2}}) {
      Use(application);
      const auto convert = [isIt = isImage] {
        return isIt ? Convert(1) : ScreenshotRectQRV(-1, -1, 4, 4);
      };
      REALpictureStruct* picture = convert();
      Bytes expected = BytesOf(picture);
      const int32_t width = Host::Width(picture), height = Host::Height(picture);
      for (int32_t i = 0; i < width * height; ++i) {
        if ((i + 1) % width != 0 && i < width * (height - 1)) continue;
        std::fill_n(expected.begin() + i * 4, 4, kPoison);
      }
      host->Release(picture);
      // The mask is made for what the picture is said to be, and must not end it.
      seam::newPicture.answer = [width, height](long, long, long depth) {
        return seam::newPicture.habit(width, height, depth);
      };
      int widths = 0, heights = 0;
      seam::CGBitmapContextGetWidth.answer = [&, which = smaller](CGContextRef context) {
        return ::CGBitmapContextGetWidth(context) - (++widths == which ? 1 : 0);
      };
      seam::CGBitmapContextGetHeight.answer = [&, which = smaller](CGContextRef context) {
        return ::CGBitmapContextGetHeight(context) - (++heights == which ? 1 : 0);
      };
      ChangeLocks(smaller, false, [&](auto& out, auto& image) {
        if (application == ApplicationKind::kDesktop) return;
        --out.width;
        image.tpixels[--out.height] = nullptr;
      });
      ExpectIs(convert(), expected);
      seam::CGBitmapContextGetWidth.answer = seam::CGBitmapContextGetHeight.answer = nullptr;
      seam::REALLockPictureDescription.answer = nullptr;
      seam::newPicture.answer = nullptr;
    }
  }
}

TEST_F(ImagePicture, IsWrittenIntoTheRowsWhereverTheyAre) {
  Use(ApplicationKind::kConsole);
  for (const bool isMask : {false, true}) {
    ChangeLocks(isMask ? 2 : 1, false,
                [](auto&, auto& image) { std::swap(image.tpixels[0], image.tpixels[1]); });
    Bytes expected = kDivided;
    for (size_t i = 0; i < 12; ++i) {
      if ((i % 4 == 3) == isMask) std::swap(expected[i], expected[i + 12]);
    }
    ExpectReads(Convert(1), expected);
  }
  // Rows that touch, but those of the image go on.
  seam::REALLockPictureDescription.answer = nullptr;
  seam::newPicture.answer = [](long, long height, long depth) {
    return seam::newPicture.habit(2, height, depth);
  };
  ExpectReads(Convert(1), {10, 20, 30, 255, 127, 63, 0, 128, 0, 0, 0, 0, 127, 63, 0, 128});
}

TEST_F(ImagePicture, GetsNoMaskThatIsNoTrueColourImageOfItsSize) {
  Use(ApplicationKind::kConsole);
  unsigned char* palette = nullptr;
  const Change changes[] = {[](auto& out, auto&) { out.container = nullptr; },
                            [&](auto&, auto& image) { image.pixels = &palette; },
                            [](auto&, auto& image) { image.tpixels = nullptr; },
                            [](auto&, auto& image) { image.tpixels[0] = nullptr; },
                            [](auto&, auto& image) { --image.sx; },
                            [](auto&, auto& image) { --image.sy; },
                            [](auto&, auto& image) { image.sx = -1; }};
  // The third lock is of the mask that is copied, the fourth of the picture's own.
  for (const Change& change : changes) {
    for (const int lock : {3, 4}) {
      ChangeLocks(lock, &change == std::end(changes) - 1, change);
      ExpectReads(Convert(1), Opaque(kDivided));
    }
  }
}

TEST_F(ImagePicture, GoesThroughTheGenericSpaceForAnImageThatIsNotRgbOrCannotBeConverted) {
  for (const CGColorSpaceModel model :
       {kCGColorSpaceModelUnknown, kCGColorSpaceModelMonochrome, kCGColorSpaceModelCMYK}) {
    ClearRecord();
    seam::CGColorSpaceGetModel.answer = [model](CGColorSpaceRef) { return model; };
    ExpectReads(Convert(6, false), Opaque(kImagePixels));
    EXPECT_EQ(layer.CallsOf("CGColorSpaceCreateWithName"), 1);
  }
  seam::CGColorSpaceGetModel.answer = nullptr;
  ClearRecord();
  layer.refused = {"newPicture"};
  EXPECT_EQ(Convert(1), nullptr);
  EXPECT_EQ(layer.CallsOf("CGColorSpaceCreateWithName"), 1);
  ClearRecord();
  layer.refused = {"CGImageGetColorSpace", "CGColorSpaceCreateWithName"};
  EXPECT_EQ(Convert(1), nullptr);
  EXPECT_EQ(layer.CallsOf("newPicture"), 0);
}

TEST_F(ImagePicture, IsNilForSizesThatNoPictureHas) {
  EXPECT_EQ(GetCGImagePicture(nullptr), nullptr);
  seam::CGContextDrawImage.answer = [](CGContextRef, CGRect, CGImageRef) {};
  constexpr size_t kWraps = SIZE_MAX / 4 + 2;
  const std::vector<std::pair<size_t, size_t>> sizes = {{32768, 1},  {1, 32768},     {0, 5},
                                                        {5, 0},      {30000, 20000}, {65536, 65536},
                                                        {kWraps, 1}, {1, kWraps}};
  for (const auto& [width, height] : sizes) {
    ClearRecord();
    CGImage image = ImageOf(6, false, width, height);
    EXPECT_EQ(GetCGImagePicture(&image), nullptr) << width << " x " << height;
    // In both spaces, or not even tried because the buffer would be empty or have 2^31 bytes.
    EXPECT_EQ(layer.CallsOf("calloc"), width + height == 32769 ? 2 : 0) << width << " x " << height;
    EXPECT_EQ(layer.CallsOf("newPicture"), 0);
  }
}

}  // namespace
}  // namespace qrv::passthrough
