// Rectangles of whole pixels or units.
#ifndef PLATFORM_DESKTOP_FRAMES_PIXEL_RECT_H_
#define PLATFORM_DESKTOP_FRAMES_PIXEL_RECT_H_

#include <algorithm>
#include <cstdint>

namespace qrv::desktop {

// The longest side of a display or an image.
inline constexpr int32_t kMaxSide = 32767;

struct PixelRect {
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;

  bool operator==(const PixelRect&) const = default;
};

// What both have in common; its width or height is 0 or less when that is nothing.
inline PixelRect Intersection(const PixelRect& one, const PixelRect& other) {
  const int32_t x = std::max(one.x, other.x);
  const int32_t y = std::max(one.y, other.y);
  return {x, y, std::min(one.x + one.width, other.x + other.width) - x,
          std::min(one.y + one.height, other.y + other.height) - y};
}

// Whether a region is not empty and lies within a display of these pixels.
inline bool Contains(int32_t width, int32_t height, const PixelRect& region) {
  return region.x >= 0 && region.y >= 0 && region.width > 0 && region.height > 0 &&
         region.width <= width && region.height <= height && region.x <= width - region.width &&
         region.y <= height - region.height;
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_PIXEL_RECT_H_
