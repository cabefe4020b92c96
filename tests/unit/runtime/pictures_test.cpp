#include "runtime/pictures.h"

#include <gtest/gtest.h>

#include "runtime/entry_points.h"

namespace qrv::runtime {
namespace {

TEST(Picture, HasASizeDepthAndFormOfTheHostAndItsMaskTooOrIsRefused) {
  for (const auto application :
       {ApplicationKind::kDesktop, ApplicationKind::kConsole, ApplicationKind::kWeb}) {
    const Host host({.application = application});
    for (const auto& [width, height, depth, isMade] :
         {std::tuple(32767, 1, 32, true), std::tuple(1, 32767, 32, true),
          std::tuple(0, 1, 32, false), std::tuple(1, 0, 32, false), std::tuple(-1, 1, 32, false),
          std::tuple(32768, 1, 32, false), std::tuple(1, 32768, 32, false),
          std::tuple(1, 1, 24, false)}) {
      EXPECT_EQ(NewPicture(width, height, depth) != nullptr, isMade)
          << width << "x" << height << "@" << depth;
    }
    REALpictureStruct* const picture = NewPicture(5, 4, 32);
    EXPECT_EQ(GetPictureMask(picture, 0), nullptr);
    REALpictureStruct* const mask = GetPictureMask(picture, 1);
    EXPECT_EQ(Host::Mask(picture), mask);
    const bool isDesktop = application == ApplicationKind::kDesktop;
    const auto [own, other] = isDesktop
                                  ? std::pair(kPixelTypeBitmapContext, kPixelTypeConsoleImage)
                                  : std::pair(kPixelTypeConsoleImage, kPixelTypeBitmapContext);
    for (REALpictureStruct* each : {picture, mask}) {
      REALpictureDescription description = {};
      EXPECT_FALSE(LockPictureDescription(each, &description, other));
      EXPECT_EQ(description.container, nullptr);
      ASSERT_TRUE(LockPictureDescription(each, &description, own));
      EXPECT_EQ(std::tuple(description.width, description.height), std::tuple(5, 4));
      if (isDesktop) continue;
      const auto* image = static_cast<const ConsoleImage*>(description.container);
      EXPECT_EQ(std::tuple(image->sx, image->sy, image->trueColor), std::tuple(5, 4, 1));
    }
  }
}

TEST(Picture, IsReadAsRedGreenBlueAlphaWhateverItsUnusedByteHolds) {
  const std::tuple<ApplicationKind, uint32_t, const char*> cases[] = {
      {ApplicationKind::kDesktop, 1, "\x0A\x14\x1E\x63"},
      {ApplicationKind::kDesktop, 2, "\x63\x0A\x14\x1E"},
      {ApplicationKind::kDesktop, 5, "\x0A\x14\x1E\x01"},
      {ApplicationKind::kDesktop, 6, "\x01\x0A\x14\x1E"},
      {ApplicationKind::kConsole, 0, "\x1E\x14\x0A\x01"}};
  for (const auto& [application, alphaInfo, pixel] : cases) {
    const Host host({.application = application, .bitmapAlphaInfo = alphaInfo});
    REALpictureStruct* const picture = NewPicture(1, 1, 32);
    memcpy(picture->Row(0), pixel, 4);
    const auto alpha = static_cast<uint8_t>(alphaInfo == 1 || alphaInfo == 2 ? 99 : 255);
    EXPECT_EQ(Host::Read(picture).rgba, (std::vector<uint8_t>{10, 20, 30, alpha})) << alphaInfo;
  }
}

struct Drawing {
  int x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight;
};

// The red of a picture of 4 x 1 after drawing onto it one of 4 x 3 whose pixel (x, y) has the red
// 10 * (x + 1) + y + 1.
std::vector<uint8_t> Draw(const Drawing& d) {
  const Host host({});
  REALpictureStruct* image = NewPicture(4, 3, 32);
  for (int i = 0; i < 12; ++i) {
    image->Row(i / 4)[i % 4 * 4 + 1] = static_cast<uint8_t>(10 * (i % 4 + 1) + i / 4 + 1);
  }
  REALpictureStruct* target = NewPicture(4, 1, 32);
  DrawPicture(GetPictureGraphics(target), image, d.x, d.y, d.width, d.height, d.sourceX, d.sourceY,
              d.sourceWidth, d.sourceHeight);
  const uint8_t* const row = target->Row(0);
  return {row[1], row[5], row[9], row[13]};
}

TEST(Graphics, DrawsCroppedPlacedScaledAndClipped) {
  const std::pair<Drawing, std::vector<uint8_t>> cases[] = {
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
  for (const auto& [drawing, row] : cases) EXPECT_EQ(Draw(drawing), row);
}

}  // namespace
}  // namespace qrv::runtime
