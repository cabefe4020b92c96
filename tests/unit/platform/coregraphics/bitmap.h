// Images and contexts for tests of drawing, released with their scope.
#ifndef TESTS_UNIT_PLATFORM_COREGRAPHICS_BITMAP_H_
#define TESTS_UNIT_PLATFORM_COREGRAPHICS_BITMAP_H_

#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "platform/coregraphics/image.h"

struct CGRelease {
  void operator()(CGContextRef context) const { CGContextRelease(context); }
  void operator()(CGImageRef image) const { CGImageRelease(image); }
};
using Image = std::unique_ptr<CGImage, CGRelease>;
using Context = std::unique_ptr<CGContext, CGRelease>;

struct Pixel {
  uint8_t red, green, blue, alpha;

  bool operator==(const Pixel&) const = default;
};

// Where a pixel's bytes lie, told independently of the code under test.
struct TestLayout {
  CGBitmapInfo bitmapInfo;
  bool hasAlpha;
  size_t red, green, blue, alpha;

  Pixel Read(const uint8_t* bytes) const {
    return {bytes[red], bytes[green], bytes[blue], bytes[alpha]};
  }
  void Write(uint8_t* bytes, const Pixel& pixel) const {
    bytes[red] = pixel.red;
    bytes[green] = pixel.green;
    bytes[blue] = pixel.blue;
    bytes[alpha] = pixel.alpha;
  }
};

inline constexpr TestLayout kRgba = {1, true, 0, 1, 2, 3};
inline constexpr TestLayout kArgb = {2, true, 1, 2, 3, 0};
inline constexpr TestLayout kRgbx = {5, false, 0, 1, 2, 3};
inline constexpr TestLayout kXrgb = {6, false, 1, 2, 3, 0};
inline constexpr TestLayout kBgrx = {6 | 2 << 12, false, 2, 1, 0, 3};
inline constexpr TestLayout kContextLayouts[] = {kRgba, kArgb, kRgbx, kXrgb};
inline constexpr TestLayout kImageLayouts[] = {kRgba, kArgb, kRgbx, kXrgb, kBgrx};

inline const CGColorSpaceRef kDeviceRgb = CGColorSpaceCreateDeviceRGB();

inline Context MakeContext(size_t width, size_t height, const TestLayout& layout = kRgba,
                           void* data = nullptr, size_t bytesPerRow = 0) {
  return Context(CGBitmapContextCreate(data, width, height, 8,
                                       bytesPerRow == 0 ? width * 4 : bytesPerRow, kDeviceRgb,
                                       layout.bitmapInfo));
}

inline Image MakeImage(size_t width, size_t height, const TestLayout& layout,
                       const std::vector<Pixel>& pixels) {
  auto bytes = std::make_shared<std::vector<uint8_t>>(width * height * 4);
  for (size_t i = 0; i < pixels.size(); ++i) layout.Write(bytes->data() + i * 4, pixels[i]);
  const uint8_t* first = bytes->data();
  return Image(new CGImage{std::move(bytes), first, width, height, width * 4, layout.bitmapInfo,
                           kDeviceRgb});
}

// Colours no greater than alpha, as premultiplied ones are; for layouts without alpha, any.
inline std::vector<Pixel> RandomPixels(size_t count, const TestLayout& layout) {
  std::minstd_rand random(static_cast<unsigned>(count));
  std::vector<Pixel> pixels(count);
  for (Pixel& each : pixels) {
    const auto alpha = static_cast<uint8_t>(random() >> 8);
    const unsigned limit = layout.hasAlpha ? alpha + 1U : 256U;
    const auto component = [&] { return static_cast<uint8_t>((random() >> 8) % limit); };
    each = {component(), component(), component(), alpha};
  }
  return pixels;
}

inline Image RandomImage(size_t width, size_t height, const TestLayout& layout) {
  return MakeImage(width, height, layout, RandomPixels(width * height, layout));
}

#endif  // TESTS_UNIT_PLATFORM_COREGRAPHICS_BITMAP_H_
