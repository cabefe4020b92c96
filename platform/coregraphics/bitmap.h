// Pixels in memory: bitmap contexts, and images.
#ifndef PLATFORM_COREGRAPHICS_BITMAP_H_
#define PLATFORM_COREGRAPHICS_BITMAP_H_

#include <ApplicationServices/CoreGraphics.h>
#include <QRV/Desktop.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/coregraphics/display_part.h"
#include "platform/coregraphics/rectangles.h"
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

// Rows from top to bottom. `owner` keeps `pixels` alive and unchanged. Both are null while the
// image is yet to be captured.
struct CGImage {
  std::shared_ptr<void> owner;
  const uint8_t* pixels;
  size_t width;
  size_t height;
  size_t bytesPerRow;
  qrv::coregraphics::PixelLayout layout;
  CGColorSpaceRef colorSpace;  // null when the image has none
  std::shared_ptr<qrv::coregraphics::DisplayPart> toCapture = nullptr;
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

// What shows the part as it is now, in that many pixels: captured, or begun. Null when it can't be
// had. Throws std::bad_alloc.
CGImage* ImageOf(std::shared_ptr<DisplayPart> part, size_t width, size_t height);

// An image that was drawn before it was captured. `area` is where all of it goes, in pixels from
// the context's top-left corner.
struct PendingDraw {
  std::shared_ptr<DisplayPart> part;
  Edges area;
};

// What a context begins with. A host that hands out something else for one is refused.
inline constexpr uint64_t kContextTag = 0x7478657443475251;

}  // namespace qrv::coregraphics

// Memory is either the caller's, or the context's own: that is there once somebody draws or looks,
// until an image takes it over, which saves a copy, for whoever makes an image has done drawing.
struct CGContext {
  uint8_t* Row(size_t y) const { return pixels + y * bytesPerRow; }

  uint64_t tag;
  bool isOwn;
  bool hasImage;                // which has taken the memory
  std::shared_ptr<void> owner;  // of own memory
  uint8_t* pixels;              // row 0 is the top row
  size_t width;
  size_t height;
  size_t bytesPerRow;
  qrv::coregraphics::PixelLayout layout;
  CGColorSpaceRef colorSpace;
  std::vector<qrv::coregraphics::PendingDraw> pending = {};  // in order; drawn before all else
  bool isIncomplete = false;  // what was drawn could not be had: nobody sees the rest
};

namespace qrv::coregraphics {

// Whether the context has memory to draw in, once it has been tried to give it its own. Without,
// its pixels are lost.
bool HasMemory(CGContext& context) noexcept;

// Captures what is pending, and draws it. Pixels that can't be had are missing, or lost.
void DrawPending(CGContext& context) noexcept;

inline bool IsContext(CGContextRef context) {
  return context != nullptr && context->tag == kContextTag;
}

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_BITMAP_H_
