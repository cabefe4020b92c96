// Displays.
//
// A display's bounds are in the global space: units, y growing downward, the main display's
// top-left corner at (0, 0), right and bottom edges exclusive. A region to capture is in the
// display's own pixels, from its top-left corner. Most displays have one pixel per unit.
#ifndef PLATFORM_DESKTOP_DISPLAY_H_
#define PLATFORM_DESKTOP_DISPLAY_H_

#include <cstdint>

namespace qrv::desktop {

struct PixelRect {
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;

  bool operator==(const PixelRect&) const = default;
};

struct Display {
  uint32_t id = 0;  // non-zero, stable while the display exists
  PixelRect bounds;
  int32_t offsetX = 0;  // to add to `bounds` for the coordinates that the desktop itself uses
  int32_t offsetY = 0;
  int32_t pixelWidth = 0;
  int32_t pixelHeight = 0;
  int32_t bitsPerPixel = 0;        // of the screen: 32, 30, 16 or 8
  int32_t bitsPerSample = 0;       // 8, 10, 5 or 8 (one sample)
  int32_t samplesPerPixel = 0;     // 3, or 1 for a screen of 8 bits per pixel
  int16_t quickDrawPixelSize = 0;  // 32, 16 or 8
  // As the desktop calls it: "HDMI-1". Cut at the end where it is longer; empty without one.
  char name[64] = "";

  bool operator==(const Display&) const = default;
};

inline PixelRect AllPixels(const Display& display) {
  return {0, 0, display.pixelWidth, display.pixelHeight};
}

// Whether a region is not empty and lies within a display of these pixels.
inline bool Contains(int32_t width, int32_t height, const PixelRect& region) {
  return region.x >= 0 && region.y >= 0 && region.width > 0 && region.height > 0 &&
         region.width <= width && region.height <= height && region.x <= width - region.width &&
         region.y <= height - region.height;
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DISPLAY_H_
