// The general way to draw an image: any size, with or without alpha, by pixman.
#ifndef PLATFORM_COREGRAPHICS_COMPOSITE_H_
#define PLATFORM_COREGRAPHICS_COMPOSITE_H_

#include <cstdint>

#include "platform/coregraphics/context.h"
#include "platform/coregraphics/geometry.h"
#include "platform/coregraphics/image.h"

namespace qrv::coregraphics {

// Pixels of a context, counted from its top-left corner; right and bottom exclusive.
struct PixelBox {
  int64_t left;
  int64_t top;
  int64_t right;
  int64_t bottom;
};

// Draws `image` as it looks when stretched over `area` (pixels of the context, from its top-left
// corner) to the pixels of `box`, which lies within the context and has its pixels' centres within
// `area`. Throws std::bad_alloc.
void Composite(const CGImage& image, const PixelLayout& imageLayout, const Edges& area,
               const PixelBox& box, const CGContext& context);

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_COMPOSITE_H_
