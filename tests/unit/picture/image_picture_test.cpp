#include "plugin/picture/image_picture.h"

#include "platform/coregraphics/bitmap.h"
#include "plugin/capture/methods.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

using runtime::Host;

// 3 x 2: opaque, half transparent, transparent, and then the other way round.
constexpr uint8_t kPixels[] = {10, 20, 30, 255, 64, 32, 0, 128, 0,  0,  0,  0,
                               0,  0,  0,  0,   64, 32, 0, 128, 10, 20, 30, 255};
const Bytes kDivided = {10, 20, 30, 255, 127, 63, 0, 128, 0,  0,  0,  0,
                        0,  0,  0,  0,   127, 63, 0, 128, 10, 20, 30, 255};

Bytes Opaque(Bytes rgba) {
  for (size_t i = 3; i < rgba.size(); i += 4) rgba[i] = 255;
  return rgba;
}
const Bytes kOpaque = Opaque({std::begin(kPixels), std::end(kPixels)});

CGImage ImageOf(size_t width, size_t height, CGImageAlphaInfo alphaInfo, bool hasAlpha) {
  return {nullptr,
          kPixels,
          width,
          height,
          width * 4,
          {alphaInfo, pixels::ByteOrder::kRGBA, hasAlpha},
          CGColorSpaceCreateDeviceRGB()};
}

class ImagePicture : public PluginTest {
 protected:
  static REALpictureStruct* Convert(CGImageAlphaInfo alphaInfo, bool hasAlpha = true) {
    CGImage image = ImageOf(3, 2, alphaInfo, hasAlpha);
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
      ExpectReads(picture, kOpaque);
    }
  }
}

// The host says of one picture that it is a pixel smaller each way than it was asked for.
TEST_F(ImagePicture, IsWrittenAsFarAsTheHostSaysThatItGoes) {
  const auto convert = [](int method) {
    if (method == 0) return ScreenshotRectQRV(-1, -1, 4, 4);
    return method == 1 ? Convert(6, false) : Convert(1);
  };
  UseSystem(kOpenGL);
  for (const ApplicationKind application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    for (const auto& [method, smaller] : {std::pair{0, 1}, {1, 1}, {2, 1}, {2, 2}}) {
      Use(application);
      REALpictureStruct* picture = convert(method);
      Bytes expected = BytesOf(picture);
      const auto width = static_cast<size_t>(Host::Width(picture));
      seam::newPicture.answer = [=, height = Host::Height(picture)](long, long, long depth) {
        return seam::newPicture.habit(static_cast<long>(width), height, depth);
      };
      for (size_t i = 0; i < expected.size(); ++i) {
        if (i / 4 % width == width - 1 || i >= expected.size() - width * 4) expected[i] = kPoison;
      }
      host->Release(picture);
      int widths = 0, heights = 0;
      seam::CGBitmapContextGetWidth.answer = [&, picture = smaller](CGContextRef context) {
        return ::CGBitmapContextGetWidth(context) - (++widths == picture ? 1 : 0);
      };
      seam::CGBitmapContextGetHeight.answer = [&, picture = smaller](CGContextRef context) {
        return ::CGBitmapContextGetHeight(context) - (++heights == picture ? 1 : 0);
      };
      ChangeLocks(smaller, false, [&](auto& out, auto& image) {
        if (application == ApplicationKind::kDesktop) return;
        --out.width;
        image.tpixels[--out.height] = nullptr;
      });
      ExpectIs(convert(method), expected);
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
  const std::vector<Change> changes = {
      [](auto& out, auto&) { out.container = nullptr; },
      [&](auto&, auto& image) { image.pixels = &palette; },
      [](auto&, auto& image) { image.tpixels = nullptr; },
      [](auto&, auto& image) { image.tpixels[0] = nullptr; },
      [](auto&, auto& image) { --image.sx; },
      [](auto&, auto& image) { --image.sy; },
      [](auto&, auto& image) { image.sx = -1; },
  };
  // The third lock is of the mask that is copied, the fourth of the picture's own.
  for (const Change& change : changes) {
    for (const int lock : {3, 4}) {
      ChangeLocks(lock, &change == &changes.back(), change);
      ExpectReads(Convert(1), Opaque(kDivided));
    }
  }
}

TEST_F(ImagePicture, GoesThroughTheGenericSpaceForAnImageThatIsNotRgbOrCannotBeConverted) {
  for (const CGColorSpaceModel model :
       {kCGColorSpaceModelUnknown, kCGColorSpaceModelMonochrome, kCGColorSpaceModelCMYK}) {
    ClearRecord();
    seam::CGColorSpaceGetModel.answer = [model](CGColorSpaceRef) { return model; };
    ExpectReads(Convert(6, false), kOpaque);
    EXPECT_EQ(layer.CallsOf("CGColorSpaceCreateWithName"), 1);
  }
  seam::CGColorSpaceGetModel.answer = nullptr;
  for (const char* step : {"calloc", "CGBitmapContextCreate", "CGBitmapContextGetData",
                           "newPicture", "REALLockPictureDescription"}) {
    ClearRecord();
    layer.refused = {step};
    EXPECT_EQ(Convert(1), nullptr) << step;
    EXPECT_EQ(layer.CallsOf("CGColorSpaceCreateWithName"), 1) << step;
  }
  ClearRecord();
  layer.refused = {"CGImageGetColorSpace", "CGColorSpaceCreateWithName"};
  EXPECT_EQ(Convert(1), nullptr);
  EXPECT_EQ(layer.CallsOf("newPicture"), 0);
}

TEST_F(ImagePicture, IsNilForSizesThatNoPictureHas) {
  EXPECT_EQ(GetCGImagePicture(nullptr), nullptr);
  seam::CGContextDrawImage.answer = [](CGContextRef, CGRect, CGImageRef) {};
  // Twice, in both spaces, or not even tried because the buffer would have 2^31 bytes and more.
  constexpr size_t kWraps = SIZE_MAX / 4 + 2;
  for (const auto& [width, height, buffers] :
       std::vector<std::tuple<size_t, size_t, long>>{{32768, 1, 2},
                                                     {1, 32768, 2},
                                                     {0, 5, 0},
                                                     {5, 0, 0},
                                                     {30000, 20000, 0},
                                                     {65536, 65536, 0},
                                                     {kWraps, 1, 0},
                                                     {1, kWraps, 0}}) {
    ClearRecord();
    CGImage image = ImageOf(width, height, 6, false);
    EXPECT_EQ(GetCGImagePicture(&image), nullptr) << width << " x " << height;
    EXPECT_EQ(layer.CallsOf("calloc"), buffers) << width << " x " << height;
    EXPECT_EQ(layer.CallsOf("newPicture"), 0);
  }
}

}  // namespace
}  // namespace qrv::passthrough
