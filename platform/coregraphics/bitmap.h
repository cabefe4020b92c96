// Pixels in memory: bitmap contexts, and images.
#ifndef PLATFORM_COREGRAPHICS_BITMAP_H_
#define PLATFORM_COREGRAPHICS_BITMAP_H_

#include <ApplicationServices/CoreGraphics.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/pixels/rows.h"

namespace qrv::coregraphics {

// How the four bytes of a pixel lie in memory.
struct PixelLayout {
  CGImageAlphaInfo alphaInfo;
  pixels::ByteOrder order;
  bool hasAlpha;  // colours are premultiplied by it
};

// Of what a desktop captures.
inline constexpr PixelLayout kDesktopLayout = {kCGImageAlphaNoneSkipFirst, pixels::ByteOrder::kBGRA,
                                               false};

}  // namespace qrv::coregraphics

// Rows from top to bottom. `owner` keeps `pixels` alive and unchanged.
struct CGImage {
  std::shared_ptr<void> owner;
  const uint8_t* pixels;
  size_t width;
  size_t height;
  size_t bytesPerRow;
  qrv::coregraphics::PixelLayout layout;
  CGColorSpaceRef colorSpace;  // null when the image has none
};

namespace qrv::coregraphics {

// What a context begins with. A host that hands out something else for one is refused.
inline constexpr uint64_t kContextTag = 0x7478657443475251;

}  // namespace qrv::coregraphics

// Memory is either the caller's, and `owner` is empty, or the context's own, until an image takes
// it over: that saves a copy, and whoever makes an image has done drawing.
struct CGContext {
  uint8_t* Row(size_t y) const { return pixels + y * bytesPerRow; }

  uint64_t tag;
  std::shared_ptr<void> owner;
  uint8_t* pixels;  // row 0 is the top row; null when an image has taken the memory
  size_t width;
  size_t height;
  size_t bytesPerRow;
  qrv::coregraphics::PixelLayout layout;
  CGColorSpaceRef colorSpace;
  bool isBlank;  // own memory that is all zero, as it was allocated
};

namespace qrv::coregraphics {

inline bool IsContext(CGContextRef context) {
  return context != nullptr && context->tag == kContextTag;
}

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_BITMAP_H_
