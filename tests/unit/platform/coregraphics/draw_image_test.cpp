#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include <QRV/Desktop.h>
#include "platform/coregraphics/bitmap.h"

namespace {

using Bytes = std::vector<uint8_t>;

using Context = std::unique_ptr<CGContext, decltype(&CGContextRelease)>;

Bytes RandomBytes(size_t count) {
  std::minstd_rand random(static_cast<unsigned>(count));
  Bytes bytes(count);
  for (uint8_t& each : bytes) each = static_cast<uint8_t>(random() >> 8);
  return bytes;
}

// As a desktop captures it.
CGImage RandomImage(size_t width, size_t height) {
  const auto bytes = std::make_shared<Bytes>(RandomBytes(width * height * 4));
  return {bytes,
          bytes->data(),
          width,
          height,
          width * 4,
          qrv::coregraphics::kDesktopLayout,
          CGColorSpaceCreateDeviceRGB()};
}

// A context's memory, misaligned on purpose: it starts at an odd address.
struct Memory {
  uint8_t* At(size_t x, size_t y) { return bytes.data() + 1 + y * bytesPerRow + x * 4; }
  Context Wrap(CGImageAlphaInfo alphaInfo = kCGImageAlphaPremultipliedLast) {
    return {CGBitmapContextCreate(At(0, 0), width, height, 8, bytesPerRow,
                                  CGColorSpaceCreateDeviceRGB(), alphaInfo),
            &CGContextRelease};
  }

  size_t width, height;
  size_t bytesPerRow = width * 4 + 3;
  Bytes bytes = RandomBytes(1 + height * bytesPerRow);
};

TEST(CGContextDrawImage, DrawsPixelForPixelWithinTheContextInItsLayout) {
  struct {
    size_t width, height, gap, imageWidth, imageHeight;
    int x, y;  // of its bottom-left corner, in user space
  } const cases[] = {{11, 9, 3, 7, 5, 2, 1},  {11, 9, 3, 7, 5, -3, -2},
                     {11, 9, 3, 7, 5, 6, 7},  {11, 9, 3, 7, 5, -7, 0},
                     {11, 9, 3, 7, 5, 0, 9},  {11, 9, 0, 30, 20, -8, -6},
                     {11, 9, 0, 11, 9, 0, 0}, {70003, 4, 3, 70001, 3, 1, 0}};
  for (const auto& each : cases) {
    CGImage image = RandomImage(each.imageWidth, each.imageHeight);
    for (const CGImageAlphaInfo alphaInfo : {1, 2, 5, 6}) {
      Memory actual = {each.width, each.height, each.width * 4 + each.gap};
      Memory expected = actual;
      CGContextDrawImage(actual.Wrap(alphaInfo).get(),
                         {{static_cast<CGFloat>(each.x), static_cast<CGFloat>(each.y)},
                          {static_cast<CGFloat>(image.width), static_cast<CGFloat>(image.height)}},
                         &image);
      const bool isAlphaFirst = alphaInfo % 4 == 2;
      for (size_t i = 0; i < image.width * image.height; ++i) {
        const size_t x = static_cast<size_t>(each.x) + i % image.width;
        const size_t y = each.height - static_cast<size_t>(each.y) - image.height + i / image.width;
        if (x >= each.width || y >= each.height) continue;
        uint8_t* const pixel = expected.At(x, y);
        const uint8_t* const bgr = image.pixels + i * 4;
        std::reverse_copy(bgr, bgr + 3, pixel + (isAlphaFirst ? 1 : 0));
        pixel[isAlphaFirst ? 0 : 3] = 255;
      }
      ASSERT_TRUE(actual.bytes == expected.bytes) << alphaInfo << ": " << each.x << ", " << each.y;
    }
  }
}

TEST(CGContextDrawImage, LosesPixelsThatItCannotDrawPixelForPixel) {
  CGImage image = RandomImage(7, 5);
  Memory memory = {11, 9};
  for (const CGRect& rect : {CGRect{{0, 0}, {8, 5}}, CGRect{{0, 0}, {7, 4}},
                             CGRect{{0.5, 0}, {7, 5}}, CGRect{{0, 0.75}, {7, 5}}}) {
    CGMainDisplayID();  // finds them again
    ASSERT_FALSE(qrv::desktop::HasLostPixels());
    CGContextDrawImage(memory.Wrap().get(), rect, &image);
    EXPECT_TRUE(qrv::desktop::HasLostPixels());
  }
}

// Whoever makes an image has done drawing; what was drawn before the last clearing doesn't show.
TEST(CGBitmapContextCreateImage, TakesTheContextsOwnMemoryOverUnlessPixelsAreLost) {
  CGImage drawn = RandomImage(7, 5);
  const CGRect all = {{0, 0}, {7, 5}};
  const Context context(
      CGBitmapContextCreate(nullptr, 7, 5, 8, 28, CGColorSpaceCreateDeviceRGB(), 1),
      &CGContextRelease);
  CGContextDrawImage(context.get(), all, &drawn);
  CGContextClearRect(context.get(), all);
  const void* const pixels = CGBitmapContextGetData(context.get());
  qrv::desktop::LosePixels("a reason");
  ASSERT_EQ(CGBitmapContextCreateImage(context.get()), nullptr);
  CGMainDisplayID();  // finds them again
  CGImageRef image = CGBitmapContextCreateImage(context.get());
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->pixels, pixels);
  EXPECT_EQ(Bytes(image->pixels, image->pixels + 140), Bytes(140));
  EXPECT_EQ(CGBitmapContextCreateImage(context.get()), nullptr);
  CGContextDrawImage(context.get(), all, &drawn);
  EXPECT_TRUE(qrv::desktop::HasLostPixels());
  CGMainDisplayID();
  CGImageRelease(image);
}

}  // namespace
