#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>
#include <string.h>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

constexpr long kBitmap = kPixelTypeBitmapContext;
constexpr long kConsole = kPixelTypeConsoleImage;

const HostOptions kDesktopHost = OptionsFor(ApplicationKind::kDesktop);
const HostOptions kConsoleHost = OptionsFor(ApplicationKind::kConsole);

HostOptions WithAlphaInfo(uint32_t alphaInfo) {
  HostOptions options = kDesktopHost;
  options.bitmapAlphaInfo = alphaInfo;
  return options;
}

CGContextRef Context(const REALpictureDescription& description) {
  return static_cast<CGContextRef>(description.container);
}

// Stores a pixel's four bytes at the picture's top-left corner.
void WriteFirstPixel(const PluginSide& plugin, REALpictureStruct* picture, const char* bytes) {
  REALpictureDescription description = {};
  if (plugin.Lock(picture, &description, kBitmap)) {
    memcpy(CGBitmapContextGetData(Context(description)), bytes, 4);
  } else if (plugin.Lock(picture, &description, kConsole)) {
    memcpy(static_cast<ConsoleImage*>(description.container)->tpixels[0], bytes, 4);
  }
  plugin.Unlock(picture);
}

std::vector<uint8_t> FirstPixel(const REALpictureStruct* picture) {
  const Image image = Host::Read(picture);
  return {image.rgba.begin(), image.rgba.begin() + 4};
}

using Bytes = std::vector<uint8_t>;

TEST(NewPicture, HasOneReferenceAndIsBlack) {
  for (const HostOptions& options : {kDesktopHost, kConsoleHost}) {
    PluginSide plugin(options);
    REALpictureStruct* picture = plugin.NewPicture(3, 2);
    EXPECT_EQ(Host::References(picture), 1);
    EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 1, .references = 1}));
    const Image image = Host::Read(picture);
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(FirstPixel(picture), (Bytes{0, 0, 0, 255}));
    plugin.Release(picture);
    EXPECT_EQ(plugin.Outstanding(), Ledger{});
  }
}

TEST(NewPicture, IsRefusedOutsideTheSizesAndDepthOfTheHost) {
  struct Case {
    long width, height, depth;
  };
  for (const Case& c : {Case{0, 1, 32}, Case{1, 0, 32}, Case{-1, 1, 32}, Case{32768, 1, 32},
                        Case{1, 32768, 32}, Case{1, 1, 24}, Case{1, 1, 0}}) {
    for (const HostOptions& options : {kDesktopHost, kConsoleHost}) {
      PluginSide plugin(options);
      EXPECT_EQ(plugin.NewPicture(c.width, c.height, c.depth), nullptr)
          << c.width << "x" << c.height << "@" << c.depth;
      EXPECT_EQ(plugin.Outstanding(), Ledger{});
    }
  }
}

TEST(NewPicture, MayBeAsLargeAsTheHostAllowsInOneDirection) {
  PluginSide plugin;
  EXPECT_NE(plugin.NewPicture(32767, 1), nullptr);
  EXPECT_NE(plugin.NewPicture(1, 32767), nullptr);
}

TEST(DesktopPicture, IsABitmapContextOfTheWantedLayout) {
  for (const uint32_t alphaInfo : {1U, 2U, 5U, 6U}) {
    PluginSide plugin(WithAlphaInfo(alphaInfo));
    REALpictureStruct* picture = plugin.NewPicture(5, 4);
    REALpictureDescription description = {};
    ASSERT_TRUE(plugin.Lock(picture, &description, kBitmap));
    EXPECT_EQ(description.pixelType, kBitmap);
    EXPECT_EQ(description.width, 5);
    EXPECT_EQ(description.height, 4);
    EXPECT_EQ(CGBitmapContextGetWidth(Context(description)), 5U);
    EXPECT_EQ(CGBitmapContextGetHeight(Context(description)), 4U);
    EXPECT_EQ(CGBitmapContextGetBitsPerPixel(Context(description)), 32U);
    EXPECT_EQ(CGBitmapContextGetAlphaInfo(Context(description)), alphaInfo);
  }
}

TEST(DesktopPicture, HasAnAlphaChannelWhenTheHostSaysSo) {
  for (const bool alpha : {false, true}) {
    HostOptions options = kDesktopHost;
    options.picturesHaveAlpha = alpha;
    PluginSide plugin(options);
    auto* picture = reinterpret_cast<REALobjectStruct*>(plugin.NewPicture(1, 1));
    unsigned char value = 9;
    EXPECT_TRUE(plugin.Call<bool>("REALGetPropValueBool", picture, "HasAlphaChannel", &value));
    EXPECT_EQ(value, alpha ? 1 : 0);
  }
}

TEST(Picture, HasNoPropertyOfAnotherName) {
  PluginSide plugin;
  auto* picture = reinterpret_cast<REALobjectStruct*>(plugin.NewPicture(1, 1));
  unsigned char value = 9;
  EXPECT_FALSE(plugin.Call<bool>("REALGetPropValueBool", picture, "Transparent", &value));
  EXPECT_EQ(value, 9);
}

TEST(ConsolePicture, IsATrueColourImageWithOneRowAfterTheOther) {
  PluginSide plugin(kConsoleHost);
  REALpictureDescription description = {};
  ASSERT_TRUE(plugin.Lock(plugin.NewPicture(5, 4), &description, kConsole));
  const auto* image = static_cast<const ConsoleImage*>(description.container);
  EXPECT_EQ(image->pixels, nullptr);
  EXPECT_NE(image->trueColor, 0);
  EXPECT_EQ(image->sx, 5);
  EXPECT_EQ(image->sy, 4);
  EXPECT_EQ(image->tpixels[3], image->tpixels[0] + 15);
}

TEST(PictureLock, IsGrantedForThePixelTypeOfTheApplicationOnly) {
  struct Case {
    ApplicationKind application;
    long granted, refused;
  };
  for (const Case& c : {Case{ApplicationKind::kDesktop, kBitmap, kConsole},
                        Case{ApplicationKind::kConsole, kConsole, kBitmap},
                        Case{ApplicationKind::kWeb, kConsole, kBitmap}}) {
    PluginSide plugin(OptionsFor(c.application));
    REALpictureStruct* picture = plugin.NewPicture(1, 1);
    REALpictureDescription description = {};
    EXPECT_FALSE(plugin.Lock(picture, &description, c.refused));
    EXPECT_EQ(description.container, nullptr);
    EXPECT_TRUE(plugin.Lock(picture, &description, c.granted));
    EXPECT_EQ(plugin.Outstanding().pictureLocks, 1);
    plugin.Unlock(picture);
    EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 1, .references = 1}));
  }
}

TEST(PictureLock, IsGrantedOnceAtATime) {
  PluginSide plugin;
  REALpictureStruct* picture = plugin.NewPicture(1, 1);
  REALpictureDescription description = {};
  EXPECT_TRUE(plugin.Lock(picture, &description, kBitmap));
  EXPECT_FALSE(plugin.Lock(picture, &description, kBitmap));
  plugin.Unlock(picture);
  EXPECT_TRUE(plugin.Lock(picture, &description, kBitmap));
}

TEST(PictureLock, IsAViolationToOpenWhenThereIsNone) {
  PluginSide plugin;
  plugin.Unlock(plugin.NewPicture(1, 1));
  EXPECT_EQ(plugin.Outstanding().violations, 1);
}

TEST(PictureLock, MayBeOpenedOnceAfterARefusalOnHostsBefore2012) {
  struct Case {
    double version;
    long violations;
  };
  for (const Case& c : {Case{2011.99, 0}, Case{2012.0, 1}}) {
    PluginSide plugin(OptionsFor(ApplicationKind::kDesktop, c.version));
    REALpictureStruct* picture = plugin.NewPicture(1, 1);
    REALpictureDescription description = {};
    plugin.Lock(picture, &description, kConsole);
    plugin.Unlock(picture);
    EXPECT_EQ(plugin.Outstanding().violations, c.violations) << c.version;
    plugin.Unlock(picture);
    EXPECT_EQ(plugin.Outstanding().violations, c.violations + 1) << c.version;
  }
}

TEST(PictureLock, LeftOnAReleasedPictureIsAViolation) {
  PluginSide plugin;
  REALpictureStruct* picture = plugin.NewPicture(1, 1);
  REALpictureDescription description = {};
  plugin.Lock(picture, &description, kBitmap);
  plugin.Release(picture);
  EXPECT_EQ(plugin.Outstanding(), Ledger{.violations = 1});
}

TEST(ReadPicture, GivesRedGreenBlueAlphaWhateverTheLayout) {
  struct Case {
    HostOptions options;
    const char* pixel;
  };
  for (const Case& c :
       {Case{WithAlphaInfo(1), "\x0A\x14\x1E\xFF"}, Case{WithAlphaInfo(2), "\xFF\x0A\x14\x1E"},
        Case{WithAlphaInfo(5), "\x0A\x14\x1E\x01"}, Case{WithAlphaInfo(6), "\x01\x0A\x14\x1E"},
        Case{kConsoleHost, "\x1E\x14\x0A\x01"}}) {
    PluginSide plugin(c.options);
    REALpictureStruct* picture = plugin.NewPicture(1, 1);
    WriteFirstPixel(plugin, picture, c.pixel);
    EXPECT_EQ(FirstPixel(picture), (Bytes{10, 20, 30, 255}));
  }
}

TEST(ReadPicture, TakesItsAlphaFromTheMask) {
  for (const HostOptions& options : {kDesktopHost, kConsoleHost}) {
    PluginSide plugin(options);
    REALpictureStruct* picture = plugin.NewPicture(2, 1);
    WriteFirstPixel(plugin, plugin.MaskOf(picture), "\x64\x64\x64\x64");
    EXPECT_EQ(Host::Read(picture).rgba, (Bytes{0, 0, 0, 155, 0, 0, 0, 255}));
  }
}

TEST(ReadPicture, OfNilIsAnEmptyImage) {
  const Image image = Host::Read(nullptr);
  EXPECT_EQ(image.width, 0);
  EXPECT_EQ(image.height, 0);
  EXPECT_TRUE(image.rgba.empty());
}

TEST(PictureMask, BelongsToThePictureAndCarriesANewReferenceEachTime) {
  PluginSide plugin;
  REALpictureStruct* picture = plugin.NewPicture(4, 3);
  REALpictureStruct* mask = plugin.MaskOf(picture);
  EXPECT_EQ(Host::Width(mask), 4);
  EXPECT_EQ(Host::Height(mask), 3);
  EXPECT_EQ(plugin.MaskOf(picture), mask);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 2, .references = 3}));
  plugin.Release(mask);
  plugin.Release(mask);
  EXPECT_EQ(Host::Mask(picture), mask);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 2, .references = 1}));
  plugin.Release(picture);
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(PictureMask, OutlivesItsPictureWhileReferenced) {
  PluginSide plugin;
  REALpictureStruct* picture = plugin.NewPicture(1, 1);
  REALpictureStruct* mask = plugin.MaskOf(picture);
  plugin.Release(picture);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 1, .references = 1}));
  plugin.Release(mask);
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(PictureMask, IsNotMadeUnlessAskedFor) {
  PluginSide plugin;
  const unsigned char onlyExisting = 0;
  EXPECT_EQ(
      plugin.Call<REALpictureStruct*>("REALGetPictureMask", plugin.NewPicture(1, 1), onlyExisting),
      nullptr);
}

TEST(PictureReference, GivenBackTooOftenIsAViolationAndNothingMore) {
  PluginSide plugin;
  REALpictureStruct* picture = plugin.NewPicture(1, 1);
  plugin.Release(picture);
  plugin.Release(picture);
  plugin.Release(nullptr);
  EXPECT_EQ(plugin.Outstanding(), Ledger{.violations = 2});
}

TEST(PictureReference, OfAMaskThatThePluginDoesNotHoldStaysWithThePicture) {
  PluginSide plugin;
  REALpictureStruct* picture = plugin.NewPicture(1, 1);
  REALpictureStruct* mask = plugin.MaskOf(picture);
  plugin.Release(mask);
  plugin.Release(mask);
  EXPECT_EQ(Host::Mask(picture), mask);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 2, .references = 1, .violations = 1}));
}

}  // namespace
}  // namespace qrv::runtime
