#include "plugin/picture/image_picture.h"

#include "platform/coregraphics/bitmap.h"
#include "tests/unit/plugin_test.h"

namespace qrv::passthrough {
namespace {

using runtime::Host;

// 3 x 2: opaque, half transparent, transparent, and then the other way round.
constexpr uint8_t kPixels[] = {10, 20, 30, 255, 64, 32, 0, 128, 0,  0,  0,  0,
                               0,  0,  0,  0,   64, 32, 0, 128, 10, 20, 30, 255};
const Bytes kDivided = {10, 20, 30, 255, 127, 63, 0, 128, 0,  0,  0,  0,
                        0,  0,  0,  0,   127, 63, 0, 128, 10, 20, 30, 255};
const Bytes kOpaque = {10, 20, 30, 255, 64, 32, 0, 255, 0,  0,  0,  255,
                       0,  0,  0,  255, 64, 32, 0, 255, 10, 20, 30, 255};

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
  REALpictureStruct* Convert(CGImageAlphaInfo alphaInfo, bool hasAlpha = true) {
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
  for (const ApplicationKind application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    Use(application);
    for (const CGImageAlphaInfo alphaInfo : {1U, 2U, 3U, 4U, 8U, 31U}) {
      ClearRecord();
      ExpectReads(Convert(alphaInfo), kDivided);
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

TEST_F(ImagePicture, LeavesAMaskOfAnotherSizeAsItIs) {
  Use(ApplicationKind::kConsole);
  seam::REALGetPictureMask.answer = [](REALpictureStruct*, unsigned char) {
    return seam::newPicture.habit(4, 3, 32);
  };
  seam::REALUnlockObject.answer = [](REALobjectStruct* object) {
    const auto* picture = reinterpret_cast<const REALpictureStruct*>(object);
    const bool isMask = Host::Width(picture) == 4;
    EXPECT_TRUE(!isMask || BytesOf(picture) == Bytes(48, kPoison));
    runtime::UnlockObject(object);
  };
  host->Release(Convert(1));
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
  for (const auto& [width, height] : std::vector<std::pair<size_t, size_t>>{
           {32768, 1}, {1, 32768}, {0, 5}, {5, 0}, {30000, 20000}, {SIZE_MAX / 2, 3}}) {
    CGImage image = ImageOf(width, height, 6, false);
    EXPECT_EQ(GetCGImagePicture(&image), nullptr) << width << " x " << height;
    EXPECT_EQ(layer.CallsOf("newPicture"), 0);
  }
}

}  // namespace
}  // namespace qrv::passthrough
