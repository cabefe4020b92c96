#include <gtest/gtest.h>

#include <random>

#include "platform/coregraphics/bitmap.h"
#include "platform/desktop/session.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Context = std::unique_ptr<CGContext, decltype(&CGContextRelease)>;
using qrv::coregraphics::PixelLayout;
using qrv::pixels::ByteOrder;

constexpr size_t kOffsets[][4] = {{0, 1, 2, 3}, {1, 2, 3, 0}, {2, 1, 0, 3}};  // by ByteOrder
constexpr PixelLayout kLayouts[] = {qrv::coregraphics::kDesktopLayout,
                                    {kCGImageAlphaPremultipliedLast, ByteOrder::kRGBA, true},
                                    {kCGImageAlphaPremultipliedFirst, ByteOrder::kARGB, true},
                                    {kCGImageAlphaNoneSkipLast, ByteOrder::kRGBA, false},
                                    {kCGImageAlphaNoneSkipFirst, ByteOrder::kARGB, false}};

// Pixels in memory, misaligned on purpose: they start at an odd address.
struct Memory {
  uint8_t* At(size_t x, size_t y) { return bytes.data() + 1 + y * bytesPerRow + x * 4; }
  Context Wrap(CGImageAlphaInfo alphaInfo = kCGImageAlphaPremultipliedLast) {
    return {CGBitmapContextCreate(At(0, 0), width, height, 8, bytesPerRow,
                                  CGColorSpaceCreateDeviceRGB(), alphaInfo),
            &CGContextRelease};
  }
  CGImage Image(const PixelLayout& layout = kLayouts[0]) {
    return {nullptr, At(0, 0), width, height, bytesPerRow, layout, CGColorSpaceCreateDeviceRGB()};
  }
  static Bytes Random(size_t count) {
    std::minstd_rand random(static_cast<unsigned>(count));
    Bytes bytes(count);
    for (uint8_t& each : bytes) each = static_cast<uint8_t>(random() >> 8);
    return bytes;
  }

  size_t width, height, gap = 3;
  size_t bytesPerRow = width * 4 + gap;
  Bytes bytes = Random(1 + height * bytesPerRow);
};

// With the image's bottom-left corner at (left, bottom) of user space.
void ExpectDrawn(Memory& source, const Memory& before, int left, int bottom) {
  for (const PixelLayout& from : kLayouts) {
    CGImage image = source.Image(from);
    const auto& order = kOffsets[static_cast<size_t>(from.order)];
    for (const CGImageAlphaInfo alphaInfo : {1, 2, 5, 6}) {
      Memory actual = before;
      Memory expected = before;
      CGContextDrawImage(
          actual.Wrap(alphaInfo).get(),
          {{CGFloat(left), CGFloat(bottom)}, {CGFloat(source.width), CGFloat(source.height)}},
          &image);
      const auto& to = kOffsets[alphaInfo % 4 == 2 ? 1 : 0];
      for (size_t i = 0; i < source.width * source.height; ++i) {
        const size_t x = static_cast<size_t>(left) + i % source.width;
        const size_t y =
            before.height - static_cast<size_t>(bottom) - source.height + i / source.width;
        if (x >= before.width || y >= before.height) continue;
        const uint8_t* const pixel = source.At(i % source.width, i / source.width);
        uint8_t* const drawn = expected.At(x, y);
        for (int part = 0; part < 4; ++part) drawn[to[part]] = pixel[order[part]];
        if (!from.hasAlpha) drawn[to[3]] = 255;
      }
      ASSERT_TRUE(actual.bytes == expected.bytes)
          << alphaInfo << ": " << source.width << " pixels at " << left << ", " << bottom;
    }
  }
}

TEST(CGContextDrawImage, DrawsPixelForPixelWithinTheContextBetweenAllLayouts) {
  struct {
    Memory context, image;
    int left, bottom;
  } cases[] = {{{11, 9}, {7, 5}, 2, 1},        {{11, 9}, {7, 5}, -3, -2},
               {{11, 9}, {7, 5}, 6, 7},        {{11, 9}, {7, 5}, -7, 0},
               {{11, 9}, {7, 5}, 0, 9},        {{11, 9, 0}, {30, 20, 0}, -8, -6},
               {{11, 9, 0}, {11, 9, 0}, 0, 0}, {{70003, 4}, {70001, 3, 0}, 1, 0}};
  for (auto& [context, image, left, bottom] : cases) ExpectDrawn(image, context, left, bottom);
  for (size_t width = 1; width <= 83; ++width) {
    Memory image = {width, 8, width % 8};
    ExpectDrawn(image, {width, 8}, 0, 0);
  }
}

// Begins another capture.
void BeginCapture() {
  setenv("QRV_DESKTOP", "virtual", 1);
  EXPECT_NE(CGMainDisplayID(), kCGNullDirectDisplay);
  unsetenv("QRV_DESKTOP");
}

TEST(CGContextDrawImage, FailsTheCaptureWhenItCannotDrawPixelForPixel) {
  Memory source = {7, 5};
  CGImage image = source.Image();
  Memory memory = {11, 9};
  for (const CGRect& rect : {CGRect{{0, 0}, {8, 5}}, CGRect{{0, 0}, {7, 4}},
                             CGRect{{0.5, 0}, {7, 5}}, CGRect{{0, 0.75}, {7, 5}}}) {
    BeginCapture();
    ASSERT_FALSE(qrv::desktop::HasCaptureFailed());
    const Context context = memory.Wrap();
    EXPECT_NE(CGBitmapContextGetData(context.get()), nullptr);
    CGContextDrawImage(context.get(), rect, &image);
    EXPECT_TRUE(qrv::desktop::HasCaptureFailed());
    EXPECT_EQ(CGBitmapContextGetData(context.get()), nullptr);
  }
}

Context OwnContext() {
  return {CGBitmapContextCreate(nullptr, 7, 5, 8, 28, CGColorSpaceCreateDeviceRGB(), 1),
          &CGContextRelease};
}

Bytes BytesOf(CGImageRef image) { return {image->pixels, image->pixels + 140}; }

// An image that fills the context is shared until something else is drawn, and an image that was
// made of the context stays as it was.
TEST(CGBitmapContextCreateImage, SharesMemoryThatNeitherSideChanges) {
  BeginCapture();
  Memory source = {7, 5, 0};
  CGImage drawn = source.Image();
  const CGRect all = {{0, 0}, {7, 5}};
  const Context context = OwnContext();
  CGContextClearRect(context.get(), all);
  CGContextDrawImage(context.get(), all, &drawn);
  CGImageRef shared = CGBitmapContextCreateImage(context.get());
  EXPECT_EQ(shared->pixels, source.At(0, 0));
  CGContextDrawImage(context.get(), {{-6, -4}, {7, 5}}, &drawn);
  CGImageRef drawnOver = CGBitmapContextCreateImage(context.get());
  const Bytes changed = BytesOf(drawnOver);
  Memory expected = {7, 5, 0};
  ExpectDrawn(source, expected, 0, 0);
  {
    const Context other = expected.Wrap();
    CGContextDrawImage(other.get(), all, &drawn);
    CGContextDrawImage(other.get(), {{-6, -4}, {7, 5}}, &drawn);
  }
  EXPECT_EQ(changed, Bytes(expected.At(0, 0), expected.At(0, 0) + 140));
  EXPECT_EQ(BytesOf(shared), Bytes(source.At(0, 0), source.At(0, 0) + 140));

  CGImageRef before = CGBitmapContextCreateImage(context.get());
  CGContextClearRect(context.get(), all);
  CGImageRef cleared = CGBitmapContextCreateImage(context.get());
  EXPECT_EQ(BytesOf(before), changed);
  EXPECT_EQ(BytesOf(cleared), Bytes(140));
  for (CGImageRef each : {shared, drawnOver, before, cleared}) CGImageRelease(each);
}

TEST(CGBitmapContextCreateImage, MakesNoneOnceTheCaptureHasFailed) {
  const Context context = OwnContext();
  qrv::desktop::FailCapture(qrv::desktop::Reason::kRefused, "a reason");
  EXPECT_EQ(CGBitmapContextCreateImage(context.get()), nullptr);
  BeginCapture();
  CGImageRef image = CGBitmapContextCreateImage(context.get());
  EXPECT_NE(image, nullptr);
  CGImageRelease(image);
}

}  // namespace
