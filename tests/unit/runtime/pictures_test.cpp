#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>
#include <string.h>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

using Bytes = std::vector<uint8_t>;

HostOptions WithAlphaInfo(uint32_t alphaInfo) {
  HostOptions options;
  options.bitmapAlphaInfo = alphaInfo;
  return options;
}

// The rows of a locked picture's pixels.
uint8_t* Row(const REALpictureDescription& description, int y) {
  if (description.pixelType == kConsole) {
    return reinterpret_cast<uint8_t*>(
        static_cast<ConsoleImage*>(description.container)->tpixels[y]);
  }
  auto* context = static_cast<CGContextRef>(description.container);
  return static_cast<uint8_t*>(CGBitmapContextGetData(context)) +
         static_cast<size_t>(y) * CGBitmapContextGetBytesPerRow(context);
}

TEST(Picture, IsBlackOfItsApplicationsLayoutAndReadAsRedGreenBlueAlpha) {
  struct Case {
    HostOptions options;
    uint32_t alphaInfo;
    const char* pixel;
  };
  for (const Case& c :
       {Case{WithAlphaInfo(1), 1, "\x0A\x14\x1E\xFF"},
        Case{WithAlphaInfo(2), 2, "\xFF\x0A\x14\x1E"},
        Case{WithAlphaInfo(5), 5, "\x0A\x14\x1E\x01"}, Case{HostOptions(), 6, "\x01\x0A\x14\x1E"},
        Case{OptionsFor(ApplicationKind::kConsole), 0, "\x1E\x14\x0A\x01"},
        Case{OptionsFor(ApplicationKind::kWeb), 0, "\x1E\x14\x0A\x01"}}) {
    const PluginSide plugin(c.options);
    REALpictureStruct* picture = plugin.NewPicture(5, 4);
    const bool isConsole = c.alphaInfo == 0;
    REALpictureDescription description = {};
    EXPECT_FALSE(plugin.Lock(picture, isConsole ? kBitmap : kConsole, description));
    EXPECT_EQ(description.container, nullptr);
    ASSERT_TRUE(plugin.Lock(picture, isConsole ? kConsole : kBitmap, description));
    EXPECT_FALSE(plugin.Lock(picture, isConsole ? kConsole : kBitmap)) << "twice";
    EXPECT_EQ(std::tuple(description.width, description.height), std::tuple(5, 4));
    if (isConsole) {
      const auto* image = static_cast<const ConsoleImage*>(description.container);
      EXPECT_EQ(std::tuple(image->sx, image->sy, image->trueColor), std::tuple(5, 4, 1));
    } else {
      auto* context = static_cast<CGContextRef>(description.container);
      EXPECT_EQ(CGBitmapContextGetAlphaInfo(context), c.alphaInfo);
    }
    memcpy(Row(description, 3) + ptrdiff_t{4} * 4, c.pixel, 4);
    const Bytes pixels = Host::Read(picture).rgba;
    ASSERT_EQ(pixels.size(), 80U);
    EXPECT_EQ(Bytes(pixels.begin(), pixels.begin() + 3), (Bytes{0, 0, 0}));
    EXPECT_EQ(Bytes(pixels.end() - 4, pixels.end()), (Bytes{10, 20, 30, 255}));
  }
  EXPECT_TRUE(Host::Read(nullptr).rgba.empty());
}

TEST(Picture, HasASizeAndDepthOfTheHostOrIsRefused) {
  struct Case {
    long width, height, depth;
    bool made;
  };
  for (const auto application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    const PluginSide plugin(OptionsFor(application));
    for (const Case& c : {Case{32767, 1, 32, true}, Case{1, 32767, 32, true}, Case{0, 1, 32, false},
                          Case{1, 0, 32, false}, Case{-1, 1, 32, false}, Case{32768, 1, 32, false},
                          Case{1, 32768, 32, false}, Case{1, 1, 24, false}}) {
      EXPECT_EQ(plugin.NewPicture(c.width, c.height, c.depth) != nullptr, c.made)
          << c.width << "x" << c.height << "@" << c.depth;
    }
  }
}

TEST(Picture, HasAMaskOfItsSizeOnceAskedForWhichIsItsAlpha) {
  for (const auto application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    const PluginSide plugin(OptionsFor(application));
    REALpictureStruct* picture = plugin.NewPicture(2, 1);
    EXPECT_EQ(plugin.MaskOf(picture, 0), nullptr);
    REALpictureStruct* mask = plugin.MaskOf(picture);
    EXPECT_EQ(Host::Mask(picture), mask);
    EXPECT_EQ(std::tuple(Host::Width(mask), Host::Height(mask)), std::tuple(2, 1));
    REALpictureDescription description = {};
    if (!plugin.Lock(mask, kBitmap, description)) plugin.Lock(mask, kConsole, description);
    memcpy(Row(description, 0), "dddd", 4);
    EXPECT_EQ(Host::Read(picture).rgba, (Bytes{0, 0, 0, 155, 0, 0, 0, 255}));
  }
}

TEST(Picture, GetsItsPixelsInTheConstructor) {
  for (const auto application : {ApplicationKind::kDesktop, ApplicationKind::kConsole}) {
    const PluginSide plugin(OptionsFor(application));
    auto* instance = plugin.Call<REALobjectStruct*>("PluginNewInstance", "Picture");
    auto* picture = reinterpret_cast<REALpictureStruct*>(instance);
    EXPECT_FALSE(plugin.Lock(picture, kBitmap) || plugin.Lock(picture, kConsole));
    void* construct =
        plugin.ObjectMethod(instance, "Constructor(width as integer, height as integer)");
    ASSERT_NE(construct, nullptr);
    reinterpret_cast<void (*)(REALobjectStruct*, int, int)>(construct)(instance, 7, 5);
    EXPECT_EQ(std::tuple(Host::Width(picture), Host::Height(picture)), std::tuple(7, 5));
    EXPECT_EQ(Host::References(picture), 1);
  }
}

constexpr char kDrawPicture[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as "
    "Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

struct Drawing {
  int x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight;
};

// The red of a picture of 4 x 1 after drawing onto it one of 4 x 3 whose pixel (x, y) has the red
// 10 * (x + 1) + y + 1.
Bytes Draw(const Drawing& d) {
  const PluginSide plugin;
  REALpictureStruct* image = plugin.NewPicture(4, 3);
  REALpictureDescription description = {};
  plugin.Lock(image, kBitmap, description);
  for (int i = 0; i < 12; ++i) {
    Row(description, i / 4)[i % 4 * 4 + 1] = static_cast<uint8_t>(10 * (i % 4 + 1) + i / 4 + 1);
  }
  REALpictureStruct* target = plugin.NewPicture(4, 1);
  REALobjectStruct* graphics = plugin.GraphicsOf(target);
  void* method = plugin.ObjectMethod(graphics, kDrawPicture);
  reinterpret_cast<void (*)(REALobjectStruct*, REALpictureStruct*, int, int, int, int, int, int,
                            int, int)>(method)(graphics, image, d.x, d.y, d.width, d.height,
                                               d.sourceX, d.sourceY, d.sourceWidth, d.sourceHeight);
  const Bytes rgba = Host::Read(target).rgba;
  return {rgba[0], rgba[4], rgba[8], rgba[12]};
}

TEST(Graphics, DrawsCroppedPlacedScaledAndClipped) {
  const std::pair<Drawing, Bytes> cases[] = {
      {{0, 0, 4, 1, 0, 1, 4, 1}, {12, 22, 32, 42}},
      {{1, 0, 2, 1, 2, 0, 2, 1}, {0, 31, 41, 0}},
      {{0, 0, 4, 1, 1, 0, 2, 1}, {21, 21, 31, 31}},
      {{0, 0, 2, 1, 0, 0, 4, 1}, {11, 31, 0, 0}},
      {{-1, 0, 4, 1, 0, 0, 4, 1}, {21, 31, 41, 0}},
      {{2, 0, 4, 1, 0, 0, 4, 1}, {0, 0, 11, 21}},
      {{0, 0, 4, 1, 2, 0, 4, 1}, {31, 41, 0, 0}},
      {{0, -1, 4, 3, 0, 0, 4, 3}, {12, 22, 32, 42}},
      {{0, 0, 0, 0, 0, 0, 4, 3}, {0, 0, 0, 0}},
      {{0, 0, -4, -1, 0, 0, 4, 1}, {0, 0, 0, 0}},
      {{0, 0, 4, 3, 0, 0, -10000, -10000}, {11, 21, 31, 41}},
  };
  for (const auto& [drawing, row] : cases) {
    EXPECT_EQ(Draw(drawing), row);
  }
}

}  // namespace
}  // namespace qrv::runtime
