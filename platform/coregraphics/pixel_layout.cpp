#include "platform/coregraphics/pixel_layout.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace qrv::coregraphics {
namespace {

// Pixman names formats from a word's high bits down, so its names run backwards through memory.
static_assert(std::endian::native == std::endian::little);

constexpr PixelLayout kLayouts[] = {
    {kCGImageAlphaPremultipliedLast, ByteOrder::kRGBA, true, PIXMAN_a8b8g8r8, PIXMAN_a8b8g8r8},
    {kCGImageAlphaPremultipliedFirst, ByteOrder::kARGB, true, PIXMAN_b8g8r8a8, PIXMAN_b8g8r8a8},
    {kCGImageAlphaNoneSkipLast, ByteOrder::kRGBA, false, PIXMAN_x8b8g8r8, PIXMAN_a8b8g8r8},
    {kCGImageAlphaNoneSkipFirst, ByteOrder::kARGB, false, PIXMAN_b8g8r8x8, PIXMAN_b8g8r8a8},
    {kDesktopBitmapInfo, ByteOrder::kBGRA, false, PIXMAN_x8r8g8b8, PIXMAN_a8r8g8b8},
};

}  // namespace

const PixelLayout* FindLayout(CGBitmapInfo bitmapInfo) {
  const auto* found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts),
                   [=](const PixelLayout& layout) { return layout.bitmapInfo == bitmapInfo; });
  return found == std::end(kLayouts) ? nullptr : found;
}

}  // namespace qrv::coregraphics
