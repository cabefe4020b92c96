#include "picture/image_picture.h"

#include <memory>

#include "tests/unit/plugin_test.h"

namespace qrv::fakes {
namespace {

using Image = std::unique_ptr<CGImage>;

void SetPixel(CGImage& image, size_t x, size_t y, const std::vector<uint8_t>& rgba) {
  std::copy(rgba.begin(), rgba.end(),
            image.rgba.begin() + static_cast<ptrdiff_t>((y * image.width + x) * 4));
}

// 2 x 2: opaque, half transparent, fully transparent, opaque.
Image SmallImage(CGImageAlphaInfo alphaInfo) {
  Image image(MakeImage(2, 2, alphaInfo));
  SetPixel(*image, 0, 0, {10, 20, 30, 255});
  SetPixel(*image, 1, 0, {64, 32, 0, 128});
  SetPixel(*image, 0, 1, {0, 0, 0, 0});
  SetPixel(*image, 1, 1, {200, 100, 50, 255});
  return image;
}

class ImagePicture : public PluginTest {
 protected:
  REALpictureStruct* Convert(const Image& image) {
    stage.ClearRecord();
    return GetCGImagePicture(image.get());
  }

  static REALpictureStruct* MaskOf(REALpictureStruct* picture) {
    return PictureOf(ObjectOf(picture)->mask);
  }

  void ExpectColours(REALpictureStruct* picture) const {
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(Colour(picture, 0, 0), 0x0A141EU);
    EXPECT_EQ(Colour(picture, 1, 0), 0x7F3F00U);
    EXPECT_EQ(Colour(picture, 0, 1), 0U);
    EXPECT_EQ(Colour(picture, 1, 1), 0xC86432U);
  }

  void ExpectMask(REALpictureStruct* picture) const {
    REALpictureStruct* mask = MaskOf(picture);
    ASSERT_NE(mask, nullptr);
    EXPECT_EQ(Colour(mask, 0, 0), 0U);
    EXPECT_EQ(Colour(mask, 1, 0), 0x7F7F7FU);
    EXPECT_EQ(Colour(mask, 0, 1), 0xFFFFFFU);
    EXPECT_EQ(Colour(mask, 1, 1), 0U);
  }

  // The picture and the mask that it owns are all that is held.
  void ExpectSolePictureWithMask(REALpictureStruct* picture) const {
    EXPECT_THAT(HeldKinds(), ElementsAre("picture", "mask"));
    ReleasePicture(picture);
    ExpectNothingHeld();
  }
};

TEST_F(ImagePicture, HasAMaskWhenTheImageCarriesAlpha) {
  for (const CGImageAlphaInfo alphaInfo : {1U, 2U, 3U, 4U, 8U, 31U}) {
    REALpictureStruct* picture = Convert(SmallImage(alphaInfo));
    ExpectColours(picture);
    ExpectMask(picture);
    ExpectSolePictureWithMask(picture);
  }
}

TEST_F(ImagePicture, IsOpaqueWhenTheImageCarriesNone) {
  for (const CGImageAlphaInfo alphaInfo : {0U, 5U, 6U, 7U}) {
    REALpictureStruct* picture = Convert(SmallImage(alphaInfo));
    EXPECT_EQ(Colour(picture, 1, 0), 0x402000U);  // as drawn, not divided
    EXPECT_EQ(MaskOf(picture), nullptr);
    ExpectSolePicture(picture);
  }
}

TEST_F(ImagePicture, IsMadeInEveryKindOfApplication) {
  for (const Application application : {Application::kConsole, Application::kWeb}) {
    Use(application);
    REALpictureStruct* picture = Convert(SmallImage(1));
    ExpectColours(picture);
    ExpectMask(picture);
    EXPECT_EQ(PixelBytes(picture, 0, 0), (std::vector<uint8_t>{30, 20, 10, 0}));
    ExpectSolePictureWithMask(picture);
  }
}

TEST_F(ImagePicture, CommitsTheMaskBeforeTheColoursAndDrawsIt) {
  REALpictureStruct* picture = Convert(SmallImage(1));
  const std::vector<std::string> calls = Calls();
  const std::vector<std::string> render = {"REALLockObject picture", "REALPictureClearCache",
                                           "unlockPictureDescription", "REALPictureClearCache",
                                           "REALUnlockObject picture"};
  std::vector<std::string> expected = {"CGBitmapContextCreate 2 2 8 8 1",
                                       "CGContextDrawImage 0 0 2 2",
                                       "newPicture 2 2 32",
                                       "pluginObjectType Application",
                                       "pluginObjectType WebApplication",
                                       "pluginObjectType ConsoleApplication",
                                       "REALGetPropValueBool HasAlphaChannel",
                                       "REALLockPictureDescription 8",
                                       "REALLockObject picture",
                                       "REALUnlockObject picture",
                                       "newPicture 2 2 32",
                                       "REALGetPropValueBool HasAlphaChannel",
                                       "REALLockPictureDescription 8",
                                       "REALLockObject picture",
                                       "REALUnlockObject picture"};
  expected.insert(expected.end(), render.begin(), render.end());
  expected.insert(expected.end(), render.begin(), render.end());
  for (const char* call :
       {"REALGetPictureMask 1", "pluginPictureGraphicsGetter", "REALLoadObjectMethod DrawPicture",
        "DrawPicture 0 0 2 2 0 0 2 2", "REALUnlockObject graphics", "REALUnlockObject mask",
        "REALUnlockObject picture", "CGContextRelease"}) {
    expected.emplace_back(call);
  }
  EXPECT_EQ(calls, expected);
  ReleasePicture(picture);
}

TEST_F(ImagePicture, CopiesTheMaskWhereThereIsNoGraphicsObject) {
  Use(Application::kConsole);
  REALpictureStruct* picture = Convert(SmallImage(1));
  const std::vector<std::string> calls = Calls();
  const auto from = std::find(calls.begin(), calls.end(), "REALGetPictureMask 1");
  EXPECT_EQ(std::vector<std::string>(from, calls.end()),
            (std::vector<std::string>{
                "REALGetPictureMask 1", "pluginPictureGraphicsGetter",
                "REALLockPictureDescription 10", "REALLockPictureDescription 10",
                "unlockPictureDescription", "unlockPictureDescription", "REALPictureClearCache",
                "REALUnlockObject mask", "REALUnlockObject picture", "CGContextRelease"}));
  ReleasePicture(picture);
}

// The copy route's locks are the third and fourth; one that is refused leaves the mask unattached.
TEST_F(ImagePicture, StaysWithoutMaskWhenTheMaskCannotBeLocked) {
  for (const double version : {2011.05, 2012.0}) {
    for (const int refusedLock : {3, 4}) {
      Use(Application::kConsole, version);
      stage.refuseAt = 0;
      ReleasePicture(Convert(SmallImage(1)));
      // Count the calls that can fail up to the lock in question.
      const auto locksUpTo = [this](int refuseAt) {
        stage.refuseAt = refuseAt;
        REALpictureStruct* picture = Convert(SmallImage(1));
        ExpectColours(picture);
        const bool isLock = stage.refusedCall == "REALLockPictureDescription";
        const auto locks = CallsOf({"REALLockPictureDescription"}).size();
        const auto unlocks = CallsOf({"unlockPictureDescription"}).size();
        ReleasePicture(picture);
        ExpectNothingHeld();
        return std::tuple(isLock, locks, unlocks);
      };
      bool found = false;
      for (int n = stage.refusable; n > 0 && !found; --n) {
        const auto [isLock, locks, unlocks] = locksUpTo(n);
        if (!isLock || static_cast<int>(locks) != refusedLock) continue;
        found = true;
        // Two bound pictures, the locks granted in the copy, and on old hosts the refused one.
        const size_t granted = static_cast<size_t>(refusedLock - 3);
        EXPECT_EQ(unlocks, 2 + granted + (version < 2012.0 ? 1 : 0));
        break;
      }
      EXPECT_TRUE(found);
      stage.refuseAt = 0;
    }
  }
}

TEST_F(ImagePicture, MakesTheMaskThroughTheHostsClassWhenPicturesHaveAlpha) {
  stage.picturesHaveAlpha = true;
  stage.contextAlphaInfo = 2;
  Use(Application::kDesktop, 2011.04);
  REALpictureStruct* picture = Convert(SmallImage(1));
  EXPECT_THAT(CallsOf({"newPicture", "PluginNewInstance", "REALLoadObjectMethod", "Constructor"}),
              ElementsAre("newPicture 2 2 32", "PluginNewInstance Picture",
                          "REALLoadObjectMethod Constructor", "Constructor 2 2",
                          "REALLoadObjectMethod DrawPicture"));
  ExpectColours(picture);
  ExpectMask(picture);
  ExpectSolePictureWithMask(picture);
}

TEST_F(ImagePicture, ShowsItsColoursWhenNoMaskCanBeMade) {
  stage.picturesHaveAlpha = true;
  stage.contextAlphaInfo = 1;
  const auto expectColoursAlone = [this] {
    REALpictureStruct* picture = Convert(SmallImage(1));
    ExpectColours(picture);
    EXPECT_EQ(PixelBytes(picture, 1, 0)[3], 255);
    EXPECT_THAT(CallsOf({"REALGetPictureMask"}), IsEmpty());
    ExpectSolePicture(picture);
  };
  Use(Application::kDesktop, 2011.03);  // has no class to make it with
  expectColoursAlone();
  EXPECT_THAT(CallsOf({"PluginNewInstance"}), IsEmpty());
  Use(Application::kDesktop, 2013.0);
  for (const char* refused : {"PluginNewInstance", "REALLoadObjectMethod"}) {
    stage.refused = {refused};
    expectColoursAlone();
  }
}

TEST_F(ImagePicture, GoesThroughTheGenericSpaceForAnImageThatIsNotRgb) {
  CGColorSpace grey = {kCGColorSpaceModelMonochrome};
  CGColorSpace cmyk = {kCGColorSpaceModelCMYK};
  for (CGColorSpaceRef space : {static_cast<CGColorSpaceRef>(nullptr), &grey, &cmyk}) {
    const Image image = SmallImage(6);
    image->space = space;
    REALpictureStruct* picture = Convert(image);
    EXPECT_EQ(Calls().front(), "CGColorSpaceCreateWithName");
    EXPECT_EQ(Calls().back(), "CGColorSpaceRelease");
    ExpectSolePicture(picture);
  }
  stage.refused = {"CGColorSpaceCreateWithName"};
  const Image image = SmallImage(6);
  image->space = nullptr;
  EXPECT_EQ(Convert(image), nullptr);
}

TEST_F(ImagePicture, IsTriedOnceMoreThroughTheGenericSpace) {
  for (const char* step : {"calloc", "CGBitmapContextCreate", "CGBitmapContextGetData",
                           "newPicture", "REALLockPictureDescription"}) {
    stage.refused = {step};
    EXPECT_EQ(Convert(SmallImage(1)), nullptr) << step;
    EXPECT_EQ(CallsOf({"CGColorSpaceCreateWithName"}).size(), 1U) << step;
    ExpectNothingHeld();
  }
}

TEST_F(ImagePicture, IsNilForSizesThatNoPictureHas) {
  EXPECT_EQ(GetCGImagePicture(nullptr), nullptr);
  EXPECT_THAT(Calls(), IsEmpty());
  for (const auto& [width, height] : std::vector<std::pair<size_t, size_t>>{
           {32768, 1}, {1, 32768}, {0, 5}, {5, 0}, {30000, 20000}, {SIZE_MAX / 2, 3}}) {
    // No memory behind it: none of these is drawn from, except in one row or column.
    const Image image(MakeImage(1, 1, 6));
    image->rgba.resize(32768 * 4);
    image->width = width;
    image->height = height;
    EXPECT_EQ(Convert(image), nullptr) << width << " x " << height;
    EXPECT_THAT(CallsOf({"newPicture"}), IsEmpty());
    ExpectNothingHeld();
  }
}

}  // namespace
}  // namespace qrv::fakes
