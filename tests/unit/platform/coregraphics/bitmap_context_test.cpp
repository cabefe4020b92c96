#include <gtest/gtest.h>

#include <cstdint>

#include "platform/coregraphics/context.h"
#include "tests/unit/platform/coregraphics/bitmap.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes PixelsOf(const CGImage& image) {
  return Bytes(image.pixels, image.pixels + image.height * image.bytesPerRow);
}

Context DrawnContext() {
  Context context = MakeContext(7, 5);
  CGContextDrawImage(context.get(), {{0, 0}, {7, 5}}, RandomImage(7, 5, kBgrx).get());
  return context;
}

TEST(CGBitmapContextCreate, RefusesWhatItCannotDrawInto) {
  const CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
  struct Case {
    const char* what;
    size_t width, height, bitsPerComponent, bytesPerRow;
    CGColorSpaceRef space;
    uint32_t bitmapInfo;
  };
  const Case cases[] = {
      {"no colour space", 4, 4, 8, 16, nullptr, 1},
      {"16 bits a component", 4, 4, 16, 32, rgb, 1},
      {"no width", 0, 4, 8, 16, rgb, 1},
      {"no height", 4, 0, 8, 16, rgb, 1},
      {"short rows", 4, 4, 8, 15, rgb, 1},
      {"no bytes per row", 4, 4, 8, 0, rgb, 1},
      {"width overflows", SIZE_MAX / 4 + 2, 1, 8, 16, rgb, 1},
      {"size overflows", 4, SIZE_MAX / 8, 8, 16, rgb, 1},
      {"alpha none", 4, 4, 8, 16, rgb, 0},
      {"unmultiplied alpha last", 4, 4, 8, 16, rgb, 3},
      {"unmultiplied alpha first", 4, 4, 8, 16, rgb, 4},
      {"alpha only", 4, 4, 8, 16, rgb, 7},
      {"little-endian byte order", 4, 4, 8, 16, rgb, 6 | kCGBitmapByteOrder32Little},
      {"float components", 4, 4, 8, 16, rgb, 1 | 1 << 8},
  };
  for (const Case& each : cases) {
    const Context context(CGBitmapContextCreate(nullptr, each.width, each.height,
                                                each.bitsPerComponent, each.bytesPerRow, each.space,
                                                each.bitmapInfo));
    EXPECT_EQ(context, nullptr) << each.what;
  }
}

TEST(CGBitmapContextCreate, MakesContextsThatTellTheirShape) {
  for (const TestLayout& layout : kContextLayouts) {
    const Context context = MakeContext(7, 5, layout, nullptr, 40);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(CGBitmapContextGetWidth(context.get()), 7U);
    EXPECT_EQ(CGBitmapContextGetHeight(context.get()), 5U);
    EXPECT_EQ(CGBitmapContextGetBytesPerRow(context.get()), 40U);
    EXPECT_EQ(CGBitmapContextGetBitsPerPixel(context.get()), 32U);
    EXPECT_EQ(CGBitmapContextGetAlphaInfo(context.get()), layout.bitmapInfo);
  }
}

TEST(CGBitmapContextCreate, GivesAContextWithoutDataZeroedMemory) {
  const Context context = MakeContext(7, 5);
  const auto* data = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  EXPECT_EQ(Bytes(data, data + 7 * 5 * 4), Bytes(7 * 5 * 4));
}

TEST(CGBitmapContextCreate, DrawsIntoTheCallersMemory) {
  Bytes bytes(7 * 5 * 4);
  const Context context = MakeContext(7, 5, kRgba, bytes.data());
  EXPECT_EQ(CGBitmapContextGetData(context.get()), bytes.data());
}

TEST(CGBitmapContextCreateImage, TakesTheContextsShapeLayoutAndColorSpace) {
  const Context context = MakeContext(7, 5, kXrgb);
  const Image image(CGBitmapContextCreateImage(context.get()));
  EXPECT_EQ(CGImageGetWidth(image.get()), 7U);
  EXPECT_EQ(CGImageGetHeight(image.get()), 5U);
  EXPECT_EQ(CGImageGetAlphaInfo(image.get()), 6U);
  EXPECT_EQ(CGColorSpaceGetModel(CGImageGetColorSpace(image.get())), kCGColorSpaceModelRGB);
}

TEST(CGBitmapContextCreateImage, MakesNoCopyOfTheContextsOwnMemory) {
  const Context context = DrawnContext();
  const Image image(CGBitmapContextCreateImage(context.get()));
  EXPECT_EQ(image->pixels, context->pixels);
}

TEST(CGBitmapContextCreateImage, MakesImagesThatOutliveTheContext) {
  Context context = DrawnContext();
  const Image image(CGBitmapContextCreateImage(context.get()));
  const Bytes before = PixelsOf(*image);
  context.reset();
  EXPECT_EQ(PixelsOf(*image), before);
}

TEST(CGBitmapContextCreateImage, MakesImagesThatLaterDrawingDoesNotChange) {
  const Context context = DrawnContext();
  const Image image(CGBitmapContextCreateImage(context.get()));
  const Bytes before = PixelsOf(*image);
  CGContextClearRect(context.get(), {{0, 0}, {3, 5}});
  EXPECT_EQ(PixelsOf(*image), before);
  const Image later(CGBitmapContextCreateImage(context.get()));
  EXPECT_EQ(later->pixels[0], 0);
  EXPECT_EQ(later->pixels[7 * 4 - 1], before[7 * 4 - 1]);
}

TEST(CGBitmapContextCreateImage, MakesImagesThatWritesToTheDataDoNotChange) {
  for (const bool addressWasOutBefore : {false, true}) {
    const Context context = DrawnContext();
    void* data = addressWasOutBefore ? CGBitmapContextGetData(context.get()) : nullptr;
    const Image image(CGBitmapContextCreateImage(context.get()));
    const Bytes before = PixelsOf(*image);
    if (!addressWasOutBefore) data = CGBitmapContextGetData(context.get());
    memset(data, 0x55, 7 * 5 * 4);
    EXPECT_EQ(PixelsOf(*image), before) << addressWasOutBefore;
  }
}

TEST(CGBitmapContextCreateImage, CopiesTheCallersMemoryWithoutWhatLiesBetweenItsRows) {
  Bytes bytes(2 * 30 - 2, 0xAA);  // the last row ends with its last pixel
  const Context context = MakeContext(7, 2, kRgba, bytes.data(), 30);
  const Image image(CGBitmapContextCreateImage(context.get()));
  std::fill(bytes.begin(), bytes.end(), uint8_t{0});
  EXPECT_EQ(PixelsOf(*image), Bytes(7 * 2 * 4, 0xAA));
}

TEST(CGBitmapContextCreateImage, CanBeDrawnIntoItsOwnContext) {
  const Context context = DrawnContext();
  const Image image(CGBitmapContextCreateImage(context.get()));
  const Bytes before = PixelsOf(*image);
  CGContextClearRect(context.get(), {{0, 0}, {7, 5}});
  CGContextDrawImage(context.get(), {{1, 0}, {7, 5}}, image.get());
  const auto* drawn = static_cast<const uint8_t*>(CGBitmapContextGetData(context.get()));
  EXPECT_EQ(Bytes(drawn + 4, drawn + 28), Bytes(before.begin(), before.begin() + 24));
}

TEST(CGColorSpace, HasAnRgbSpaceByNameAndNoOtherName) {
  const CGColorSpaceRef generic = CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceGenericRGB"));
  EXPECT_EQ(CGColorSpaceGetModel(generic), kCGColorSpaceModelRGB);
  EXPECT_EQ(CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceGenericCMYK")), nullptr);
  CGColorSpaceRelease(generic);
}

TEST(CoreGraphics, AnswersNothingForNull) {
  EXPECT_EQ(CGImageGetWidth(nullptr), 0U);
  EXPECT_EQ(CGImageGetHeight(nullptr), 0U);
  EXPECT_EQ(CGImageGetColorSpace(nullptr), nullptr);
  EXPECT_EQ(CGBitmapContextCreateImage(nullptr), nullptr);
  EXPECT_EQ(CGBitmapContextGetData(nullptr), nullptr);
  CGContextDrawImage(MakeContext(1, 1).get(), {{0, 0}, {1, 1}}, nullptr);
}

}  // namespace
