#include <gtest/gtest.h>

#include <limits>

#include "tests/unit/platform/coregraphics/bitmap.h"

namespace {

using Bytes = std::vector<uint8_t>;

// A context's memory, misaligned on purpose: it starts at an odd address, and a gap of any number
// of bytes lies between its rows.
struct Memory {
  Memory(size_t contextWidth, size_t contextHeight, size_t gap)
      : width(contextWidth),
        height(contextHeight),
        bytesPerRow(width * 4 + gap),
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

struct Case {
  size_t contextWidth, contextHeight, gap;
  size_t imageWidth, imageHeight;
  int x, y;
};

void ExpectDrawsLikePlainLoop(const TestLayout& from, const TestLayout& to, const Case& each) {
  const Image image = RandomImage(each.imageWidth, each.imageHeight, from);
  Memory actual(each.contextWidth, each.contextHeight, each.gap);
  Memory expected = actual;
  CGContextDrawImage(actual.Wrap(to).get(), RectOfImage(*image, each.x, each.y), image.get());
  DrawPlainly(*image, from, each.x, each.y, expected, to);
  ASSERT_TRUE(actual.bytes == expected.bytes)
      << from.bitmapInfo << " to " << to.bitmapInfo << " at " << each.x << ", " << each.y;
}

TEST(CGContextDrawImage, DrawsPixelForPixelBetweenAllLayoutsWithinTheContext) {
  constexpr Case kCases[] = {
      {11, 9, 3, 7, 5, 2, 1},        {11, 9, 3, 7, 5, 0, 0},
      {11, 9, 3, 7, 5, 4, 4},  // within
      {11, 9, 3, 7, 5, -3, 2},       {11, 9, 3, 7, 5, 6, 2},
      {11, 9, 3, 7, 5, 2, -2},  // clipped
      {11, 9, 3, 7, 5, 2, 7},        {11, 9, 3, 7, 5, -6, 8},
      {11, 9, 3, 7, 5, 10, -4},      {11, 9, 3, 7, 5, -7, 0},
      {11, 9, 3, 7, 5, 11, 0},       {11, 9, 3, 7, 5, 0, 9},         // beyond
      {11, 9, 3, 7, 5, 0, -5},       {11, 9, 3, 30, 20, -8, -6},     // larger
      {11, 9, 0, 11, 9, 0, 0},       {300, 270, 0, 300, 270, 0, 0},  // the same
      {70003, 4, 3, 70001, 3, 1, 0},                                 // wider than 16 bits
  };
  for (const TestLayout& from : kImageLayouts) {
    for (const TestLayout& to : kContextLayouts) {
      for (const Case& each : kCases) ExpectDrawsLikePlainLoop(from, to, each);
    }
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
  struct Widths {
    size_t image, context;
  };
  for (const Widths& each : {Widths{11, 1001}, {1001, 11}, {11, 40001}, {70001, 101}}) {
    SCOPED_TRACE(testing::Message() << each.image << " to " << each.context);
    const std::vector<Pixel> row = StretchToRow(Ramp(each.image), each.context);
    const double perPixel = static_cast<double>(each.image) / static_cast<double>(each.context);
    for (size_t i = 0; i < row.size(); ++i) {
      const double position = (static_cast<double>(i) + 0.5) * perPixel - 0.5;
      const double last = static_cast<double>(each.image - 1);
      const double level = std::clamp(position, 0.0, last) * 250 / last;
      ASSERT_NEAR(row[i].red, level, 2.0) << i;
      ASSERT_EQ(row[i].alpha, 255) << i;
    }
  }
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

TEST(CGContextDrawImage, DrawsNothingIntoRectanglesThatAreNotFinite) {
  constexpr CGFloat kInfinity = std::numeric_limits<CGFloat>::infinity();
  constexpr CGFloat kNaN = std::numeric_limits<CGFloat>::quiet_NaN();
  const Image image = RandomImage(7, 5, kBgrx);
  Memory memory(11, 9, 3);
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
  for (size_t i = 0; i < 9; ++i) EXPECT_EQ(kRgba.Read(drawn + i * 4), color) << i;
}

TEST(CGContextClearRect, MakesTheRectanglesPixelsTransparentBlack) {
  Memory actual(11, 9, 3);
  Memory expected = actual;
  CGContextClearRect(actual.Wrap(kRgba).get(), {{2, 7}, {30, 40}});
  for (size_t y = 0; y < 2; ++y) memset(expected.PixelAt(2, y), 0, size_t{9} * 4);
  EXPECT_EQ(actual.bytes, expected.bytes);
}

TEST(CGContextClearRect, ClearsWhatWasDrawnIntoTheContextsOwnMemory) {
  const Context context = MakeContext(7, 5);
  CGContextDrawImage(context.get(), {{0, 0}, {7, 5}}, RandomImage(7, 5, kBgrx).get());
  CGContextClearRect(context.get(), {{0, 0}, {7, 5}});
  const Image image(CGBitmapContextCreateImage(context.get()));
  for (size_t i = 0; i < image->height * image->bytesPerRow; ++i) EXPECT_EQ(image->pixels[i], 0);
}

}  // namespace
