// The pointer's image, drawn into frames.
#ifndef PLATFORM_DESKTOP_FRAMES_POINTER_H_
#define PLATFORM_DESKTOP_FRAMES_POINTER_H_

#include <cstdint>
#include <vector>

#include "platform/desktop/frames/frame.h"

namespace qrv::desktop {

enum class Pointer { kHidden, kShown };

struct PointerImage {
  PixelRect area;
  std::vector<uint32_t> pixels;  // row by row, 0xAARRGGBB, colours premultiplied by alpha
};

// Draws the image into a frame that shows `region`, which is in the same coordinates as the
// image's area.
void DrawPointer(const PointerImage& pointer, const PixelRect& region, const Frame& frame);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_POINTER_H_
