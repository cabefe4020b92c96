#include <gtest/gtest.h>

#include <limits>

#include "tests/unit/platform/coregraphics/bitmap.h"

namespace {

using Bytes = std::vector<uint8_t>;

// A context's memory, misaligned on purpose: it starts at an odd address, and there are a few bytes
// between its rows.
struct Memory {
  Memory(size_t contextWidth, size_t contextHeight)
      : width(contextWidth),
        height(contextHeight),
        bytesPerRow(width * 4 + 3),
        bytes(1 + height * bytesPerRow) {
    std::minstd_rand random;
    for (uint8_t& each : bytes) each = static_cast<uint8_t>(random() >> 8);
  }

  uint8_t* PixelAt(size_t x, size_t y) { return bytes.data() + 1 + y * bytesPerRow + x * 4; }
  Context Wrap(const TestLayout& layout) {
    return MakeContext(width, height, layout, PixelAt(0, 0), bytesPerRow);
  }

  size_t width;
  size_t height;
  size_t bytesPerRow;
  Bytes bytes;
};

uint8_t Over(uint8_t source, uint8_t sourceAlpha, uint8_t below) {
  const unsigned kept = (below * (255U - sourceAlpha) * 2 + 255) / 510;  // rounded to the nearest
  return static_cast<uint8_t>(std::min(source + kept, 255U));
}

Pixel DrawnPixel(const Pixel& source, bool sourceHasAlpha, const Pixel& below) {
  if (!sourceHasAlpha) return {source.red, source.green, source.blue, 255};
  return {Over(source.red, source.alpha, below.red), Over(source.green, source.alpha, below.green),
          Over(source.blue, source.alpha, below.blue),
          Over(source.alpha, source.alpha, below.alpha)};
}

// Draws the image, pixel for pixel, with its bottom-left corner at (x, y) of user space.
void DrawPlainly(const CGImage& image, const TestLayout& from, int x, int y, Memory& memory,
                 const TestLayout& to) {
  const int top = static_cast<int>(memory.height) - y - static_cast<int>(image.height);
  for (int row = 0; row < static_cast<int>(image.height); ++row) {
    for (int column = 0; column < static_cast<int>(image.width); ++column) {
      const int toX = x + column;
      const int toY = top + row;
      if (toX < 0 || toX >= static_cast<int>(memory.width)) continue;
      if (toY < 0 || toY >= static_cast<int>(memory.height)) continue;
      uint8_t* below = memory.PixelAt(static_cast<size_t>(toX), static_cast<size_t>(toY));
      const uint8_t* source = image.pixels + static_cast<size_t>(row) * image.bytesPerRow +
                              static_cast<size_t>(column) * 4;
      to.Write(below, DrawnPixel(from.Read(source), from.hasAlpha, to.Read(below)));
    }
  }
}

CGRect RectOfImage(const CGImage& image, int x, int y) {
  return {{static_cast<CGFloat>(x), static_cast<CGFloat>(y)},
          {static_cast<CGFloat>(image.width), static_cast<CGFloat>(image.height)}};
}

void ExpectDrawsLikePlainLoop(const TestLayout& from, const TestLayout& to, int x, int y) {
  const Image image = RandomImage(7, 5, from);
  Memory actual(11, 9);
  Memory expected(11, 9);
  CGContextDrawImage(actual.Wrap(to).get(), RectOfImage(*image, x, y), image.get());
  DrawPlainly(*image, from, x, y, expected, to);
  ASSERT_EQ(actual.bytes, expected.bytes)
      << from.bitmapInfo << " to " << to.bitmapInfo << " at " << x << ", " << y;
}

TEST(CGContextDrawImage, DrawsPixelForPixelBetweenAllLayoutsWithinTheContext) {
  constexpr struct {
    int x, y;
  } kPlaces[] = {{2, 1},  {0, 0},  {4, 4},    // within
                 {-3, 2}, {6, 2},  {2, -2},   // over the left, right and bottom edges
                 {2, 7},  {-6, 8}, {10, -4},  // over the top edge and two corners
                 {-7, 0}, {11, 0}, {0, 9},    // beyond
                 {0, -5}};
  for (const TestLayout& from : kImageLayouts) {
    for (const TestLayout& to : kContextLayouts) {
      for (const auto& place : kPlaces) ExpectDrawsLikePlainLoop(from, to, place.x, place.y);
    }
  }
}

TEST(CGContextDrawImage, DrawsImagesThatAreLargerThanTheContextOnEverySide) {
  for (const TestLayout& from : {kBgrx, kRgba}) {
    const Image image = RandomImage(30, 20, from);
    Memory actual(11, 9);
    Memory expected(11, 9);
    CGContextDrawImage(actual.Wrap(kArgb).get(), RectOfImage(*image, -8, -6), image.get());
    DrawPlainly(*image, from, -8, -6, expected, kArgb);
    EXPECT_EQ(actual.bytes, expected.bytes);
  }
}

TEST(CGContextDrawImage, FillsAContextThatMatchesTheImage) {
  const Image image = RandomImage(13, 6, kBgrx);
  const Context context = MakeContext(13, 6, kXrgb);
  CGContextDrawImage(context.get(), RectOfImage(*image, 0, 0), image.get());
  const auto* drawn = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  for (size_t i = 0; i < 13 * 6; ++i) {
    const Pixel source = kBgrx.Read(image->pixels + i * 4);
    ASSERT_EQ(kXrgb.Read(drawn + i * 4), DrawnPixel(source, false, {})) << i;
  }
}

TEST(CGContextDrawImage, DrawsImagesThatAreWiderThanSixteenBits) {
  for (const TestLayout& from : {kBgrx, kRgba}) {
    const Image image = RandomImage(70001, 3, from);
    Memory actual(70003, 4);
    Memory expected(70003, 4);
    CGContextDrawImage(actual.Wrap(kRgba).get(), RectOfImage(*image, 1, 0), image.get());
    DrawPlainly(*image, from, 1, 0, expected, kRgba);
    EXPECT_TRUE(actual.bytes == expected.bytes) << from.bitmapInfo;
  }
}

// A run of `count` pixels of a context's top row after drawing the image over the whole context.
std::vector<Pixel> StretchToRow(const Image& image, size_t count) {
  const Context context = MakeContext(count, 1);
  CGContextDrawImage(context.get(), {{0, 0}, {static_cast<CGFloat>(count), 1}}, image.get());
  const auto* row = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  std::vector<Pixel> pixels;
  for (size_t i = 0; i < count; ++i) pixels.push_back(kRgba.Read(row + i * 4));
  return pixels;
}

// Grey levels from 0 to 250 in equal steps.
Image Ramp(size_t width) {
  std::vector<Pixel> pixels;
  for (size_t i = 0; i < width; ++i) {
    const auto level = static_cast<uint8_t>(i * 250 / (width - 1));
    pixels.push_back({level, level, level, 255});
  }
  return MakeImage(width, 1, kRgba, pixels);
}

TEST(CGContextDrawImage, StretchesAnImageEvenly) {
  struct Case {
    size_t imageWidth, contextWidth;
  };
  for (const Case& each : {Case{11, 1001}, Case{1001, 11}, Case{11, 40001}, Case{70001, 101}}) {
    SCOPED_TRACE(testing::Message() << each.imageWidth << " to " << each.contextWidth);
    const std::vector<Pixel> row = StretchToRow(Ramp(each.imageWidth), each.contextWidth);
    const double perPixel =
        static_cast<double>(each.imageWidth) / static_cast<double>(each.contextWidth);
    for (size_t i = 0; i < row.size(); ++i) {
      const double position = (static_cast<double>(i) + 0.5) * perPixel - 0.5;
      const double last = static_cast<double>(each.imageWidth - 1);
      const double level = std::clamp(position, 0.0, last) * 250 / last;
      ASSERT_NEAR(row[i].red, level, 2.0) << i;
      ASSERT_EQ(row[i].alpha, 255) << i;
    }
  }
}

TEST(CGContextDrawImage, KeepsTheImagesTopOnTopWhenItStretches) {
  const Pixel red = {255, 0, 0, 255};
  const Pixel blue = {0, 0, 255, 255};
  const Image image = MakeImage(1, 2, kRgba, {red, blue});
  const Context context = MakeContext(3, 8);
  CGContextDrawImage(context.get(), {{0, 0}, {3, 8}}, image.get());
  const auto* drawn = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  EXPECT_EQ(kRgba.Read(drawn), red);
  EXPECT_EQ(kRgba.Read(drawn + 7 * 12), blue);
}

TEST(CGContextDrawImage, TouchesOnlyPixelsWhoseCentresLieInTheRectangle) {
  const Image white = MakeImage(1, 1, kRgba, {{255, 255, 255, 255}});
  const Context context = MakeContext(4, 4);
  CGContextDrawImage(context.get(), {{0.75, 1.5}, {1.5, 2}}, white.get());
  const auto* drawn = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  for (size_t i = 0; i < 16; ++i) {
    const bool isCovered = i % 4 == 1 && i / 4 < 2;
    EXPECT_EQ(drawn[i * 4 + 3] != 0, isCovered) << i;
  }
}

TEST(CGContextDrawImage, TakesANegativeSizeAsTheSameRectangle) {
  const Image image = RandomImage(7, 5, kBgrx);
  Memory actual(11, 9);
  Memory expected(11, 9);
  CGContextDrawImage(actual.Wrap(kRgba).get(), {{9, 8}, {-7, -5}}, image.get());
  DrawPlainly(*image, kBgrx, 2, 3, expected, kRgba);
  EXPECT_EQ(actual.bytes, expected.bytes);
}

TEST(CGContextDrawImage, DrawsNothingIntoRectanglesThatAreNotFinite) {
  constexpr CGFloat kInfinity = std::numeric_limits<CGFloat>::infinity();
  constexpr CGFloat kNaN = std::numeric_limits<CGFloat>::quiet_NaN();
  const Image image = RandomImage(7, 5, kBgrx);
  Memory memory(11, 9);
  const Bytes before = memory.bytes;
  const Context context = memory.Wrap(kRgba);
  CGContextDrawImage(context.get(), {{kNaN, 0}, {7, 5}}, image.get());
  CGContextDrawImage(context.get(), {{0, 0}, {kInfinity, 5}}, image.get());
  CGContextDrawImage(context.get(), {{0, -kInfinity}, {7, kInfinity}}, image.get());
  EXPECT_EQ(memory.bytes, before);
}

TEST(CGContextDrawImage, StretchesOverTheLargestRectangles) {
  constexpr CGFloat kMax = std::numeric_limits<float>::max();
  const Pixel color = {10, 20, 30, 255};
  const Image image = MakeImage(2, 2, kRgba, {color, color, color, color});
  const Context context = MakeContext(3, 3);
  CGContextDrawImage(context.get(), {{-kMax / 2, -kMax / 2}, {kMax, kMax}}, image.get());
  const auto* drawn = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kRgba.Read(drawn + i * 4), color);
}

TEST(CGContextClearRect, MakesTheRectanglesPixelsTransparentBlack) {
  Memory actual(11, 9);
  Memory expected(11, 9);
  CGContextClearRect(actual.Wrap(kRgba).get(), {{2, 7}, {30, 40}});
  for (size_t y = 0; y < 2; ++y) memset(expected.PixelAt(2, y), 0, 9 * 4);
  EXPECT_EQ(actual.bytes, expected.bytes);
}

TEST(CGContextClearRect, ClearsWhatWasDrawnIntoTheContextsOwnMemory) {
  const Context context = MakeContext(7, 5);
  CGContextDrawImage(context.get(), {{0, 0}, {7, 5}}, RandomImage(7, 5, kBgrx).get());
  CGContextClearRect(context.get(), {{0, 0}, {7, 5}});
  const auto* cleared = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  EXPECT_EQ(Bytes(cleared, cleared + 7 * 5 * 4), Bytes(7 * 5 * 4));
}

}  // namespace
