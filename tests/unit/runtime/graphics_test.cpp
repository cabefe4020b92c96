#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>

#include "tests/unit/runtime/plugin_side.h"

namespace qrv::runtime {
namespace {

constexpr char kDrawPicture[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as "
    "Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

struct Drawing {
  int x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight;
};

void Draw(const PluginSide& plugin, REALpictureStruct* target, REALpictureStruct* image,
          const Drawing& d) {
  REALobjectStruct* graphics = plugin.GraphicsOf(target);
  void* method = plugin.ObjectMethod(graphics, kDrawPicture);
  reinterpret_cast<void (*)(REALobjectStruct*, REALpictureStruct*, int, int, int, int, int, int,
                            int, int)>(method)(graphics, image, d.x, d.y, d.width, d.height,
                                               d.sourceX, d.sourceY, d.sourceWidth, d.sourceHeight);
  plugin.Release(graphics);
}

// A picture of 4 x 3 whose pixel (x, y) has red 10 * (x + 1) and green y + 1.
REALpictureStruct* NumberedPicture(const PluginSide& plugin) {
  REALpictureStruct* picture = plugin.NewPicture(4, 3);
  REALpictureDescription description = {};
  plugin.Lock(picture, &description, kPixelTypeBitmapContext);
  auto* context = static_cast<CGContextRef>(description.container);
  for (int y = 0; y < 3; ++y) {
    auto* row = static_cast<uint8_t*>(CGBitmapContextGetData(context)) +
                static_cast<size_t>(y) * CGBitmapContextGetBytesPerRow(context);
    for (int x = 0; x < 4; ++x) {
      row[x * 4 + 1] = static_cast<uint8_t>(10 * (x + 1));
      row[x * 4 + 2] = static_cast<uint8_t>(y + 1);
    }
  }
  plugin.Unlock(picture);
  return picture;
}

// The picture's pixels as red + green, which names the numbered pixel; 0 where nothing was drawn.
std::vector<int> Numbers(const REALpictureStruct* picture) {
  const Image image = Host::Read(picture);
  std::vector<int> numbers;
  for (size_t index = 0; index < image.rgba.size(); index += 4) {
    numbers.push_back(image.rgba[index] + image.rgba[index + 1]);
  }
  return numbers;
}

TEST(DrawPicture, CopiesTheWholePicture) {
  PluginSide plugin;
  REALpictureStruct* target = plugin.NewPicture(4, 3);
  REALpictureStruct* image = NumberedPicture(plugin);
  Draw(plugin, target, image, {0, 0, 4, 3, 0, 0, 4, 3});
  EXPECT_EQ(Numbers(target), Numbers(image));
}

TEST(DrawPicture, CropsPlacesScalesAndClips) {
  struct Case {
    Drawing drawing;
    std::vector<int> row;  // of a target 4 x 1
  };
  const std::vector<Case> cases = {
      {{0, 0, 4, 1, 0, 1, 4, 1}, {12, 22, 32, 42}},
      {{1, 0, 2, 1, 2, 0, 2, 1}, {0, 31, 41, 0}},
      {{0, 0, 4, 1, 1, 0, 2, 1}, {21, 21, 31, 31}},
      {{0, 0, 2, 1, 0, 0, 4, 1}, {11, 31, 0, 0}},
      {{-1, 0, 4, 1, 0, 0, 4, 1}, {21, 31, 41, 0}},
      {{2, 0, 4, 1, 0, 0, 4, 1}, {0, 0, 11, 21}},
      {{0, 0, 4, 1, 2, 0, 4, 1}, {31, 41, 0, 0}},
      {{0, 0, 4, 3, 0, 0, -10000, -10000}, {11, 21, 31, 41}},
      {{0, 0, 0, 0, 0, 0, 4, 3}, {0, 0, 0, 0}},
      {{0, 0, -4, -1, 0, 0, 4, 1}, {0, 0, 0, 0}},
  };
  for (size_t index = 0; index < cases.size(); ++index) {
    PluginSide plugin;
    REALpictureStruct* target = plugin.NewPicture(4, 1);
    Draw(plugin, target, NumberedPicture(plugin), cases[index].drawing);
    EXPECT_EQ(Numbers(target), cases[index].row) << "case " << index;
  }
}

TEST(Graphics, KeepsItsPictureAlive) {
  PluginSide plugin;
  REALpictureStruct* target = plugin.NewPicture(4, 3);
  REALobjectStruct* graphics = plugin.GraphicsOf(target);
  plugin.Release(target);
  EXPECT_EQ(plugin.Outstanding(), (Ledger{.objects = 2, .references = 1}));
  plugin.Release(graphics);
  EXPECT_EQ(plugin.Outstanding(), Ledger{});
}

TEST(Graphics, HasNoMethodOfAnotherDeclaration) {
  PluginSide plugin;
  REALobjectStruct* graphics = plugin.GraphicsOf(plugin.NewPicture(1, 1));
  EXPECT_EQ(plugin.ObjectMethod(graphics, "DrawPicture(Image as Picture)"), nullptr);
}

TEST(Graphics, IsNotToBeHadInConsoleAndWebApplications) {
  for (const ApplicationKind application : {ApplicationKind::kConsole, ApplicationKind::kWeb}) {
    PluginSide plugin(OptionsFor(application));
    EXPECT_EQ(plugin.GraphicsOf(plugin.NewPicture(1, 1)), nullptr);
  }
}

}  // namespace
}  // namespace qrv::runtime
