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

TEST(CGBitmapContextCreateImage, MakesNoCopyOfTheContextsOwnMemory) {
  const Context context = DrawnContext();
  const Image image(CGBitmapContextCreateImage(context.get()));
  EXPECT_EQ(image->pixels, context->pixels);
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
    memset(data, 0x55, before.size());
    EXPECT_EQ(PixelsOf(*image), before) << addressWasOutBefore;
  }
}

TEST(CGBitmapContextCreateImage, CopiesTheCallersMemoryWithoutWhatLiesBetweenItsRows) {
  constexpr size_t kRowBytes = 28;
  Bytes bytes(30 + kRowBytes, 0xAA);  // the last row ends with its last pixel
  const Context context = MakeContext(7, 2, kRgba, bytes.data(), 30);
  const Image image(CGBitmapContextCreateImage(context.get()));
  std::fill(bytes.begin(), bytes.end(), uint8_t{0});
  EXPECT_EQ(PixelsOf(*image), Bytes(2 * kRowBytes, 0xAA));
}

TEST(CGColorSpace, HasAnRgbSpaceByNameAndNoOtherName) {
  const CGColorSpaceRef generic = CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceGenericRGB"));
  EXPECT_EQ(CGColorSpaceGetModel(generic), kCGColorSpaceModelRGB);
  EXPECT_EQ(CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceGenericCMYK")), nullptr);
  CGColorSpaceRelease(generic);
}

}  // namespace
