// How the four bytes of a pixel are laid out in memory, for every bitmap info that this platform
// makes or accepts.
#ifndef PLATFORM_COREGRAPHICS_PIXEL_LAYOUT_H_
#define PLATFORM_COREGRAPHICS_PIXEL_LAYOUT_H_

#include <ApplicationServices/CoreGraphics.h>
#include <pixman.h>

namespace qrv::coregraphics {

// Names read as memory order. A is alpha or an unused byte.
enum class ByteOrder { kRGBA, kARGB, kBGRA };

struct PixelLayout {
  CGBitmapInfo bitmapInfo;
  ByteOrder order;
  bool hasAlpha;                         // colours are premultiplied by it
  pixman_format_code_t format;           // pixman's name, with an unused byte for one without alpha
  pixman_format_code_t formatWithAlpha;  // the same order with the fourth byte taken as alpha
};

inline constexpr CGBitmapInfo kDesktopBitmapInfo =
    CGBitmapInfo{kCGImageAlphaNoneSkipFirst} | kCGBitmapByteOrder32Little;

// The layout that the bitmap info names, or null when there is none.
const PixelLayout* FindLayout(CGBitmapInfo bitmapInfo);

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_PIXEL_LAYOUT_H_
