// Bitmap contexts and images.
#ifndef PLATFORM_COREGRAPHICS_BITMAP_H_
#define PLATFORM_COREGRAPHICS_BITMAP_H_

#include <ApplicationServices/CoreGraphics.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/desktop/frames/frame.h"
#include "platform/pixels/rows.h"

namespace qrv::coregraphics {

// How the four bytes of a pixel lie in memory.
struct PixelLayout {
  CGImageAlphaInfo alphaInfo;
  pixels::ByteOrder order;
  bool hasAlpha;  // colours are premultiplied by it
};

// The layout of captured pixels.
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

// An image over the memory of a frame.
inline CGImage ImageOf(const desktop::Frame& frame) {
  return {frame.owner,
          frame.pixels,
          static_cast<size_t>(frame.width),
          static_cast<size_t>(frame.height),
          frame.rowBytes,
          kDesktopLayout,
          CGColorSpaceCreateDeviceRGB()};
}

// Every context begins with this; anything else that a host passes for a context is refused.
inline constexpr uint64_t kContextTag = 0x7478657443475251;

}  // namespace qrv::coregraphics

// The pixels are in the caller's memory or the context's own. The context allocates its own only
// when it must: while it shows only zeros it has none, and an image that fills it is shared.
struct CGContext {
  uint8_t* Row(size_t y) const { return pixels + y * bytesPerRow; }

  uint64_t tag;
  bool isOwn;                      // not the caller's
  std::shared_ptr<void> owner;     // of the context's own memory
  std::unique_ptr<CGImage> image;  // the image that is shared, if any
  uint8_t* pixels;                 // row 0 is the top row
  size_t width;
  size_t height;
  size_t bytesPerRow;
  qrv::coregraphics::PixelLayout layout;
  CGColorSpaceRef colorSpace;
  bool hasFailed = false;  // something was not drawn, so the pixels are not handed out
};

namespace qrv::coregraphics {

// Makes sure that the context has memory, which holds what it shows. False when memory runs out.
bool EnsureMemory(CGContext& context) noexcept;

// Writes the image with its top-left corner at a pixel of a context that has memory, clipped to the
// context.
void CopyImage(const CGImage& image, ptrdiff_t left, ptrdiff_t top, const CGContext& context);

inline bool IsContext(CGContextRef context) {
  return context != nullptr && context->tag == kContextTag;
}

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_BITMAP_H_
