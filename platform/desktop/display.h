// Displays.
//
// A display's bounds are in the global space: units, y growing downward, the main display's
// top-left corner at (0, 0), right and bottom edges exclusive. A region to capture is in the
// display's own pixels, from its top-left corner. Most displays have one pixel per unit.
#ifndef PLATFORM_DESKTOP_DISPLAY_H_
#define PLATFORM_DESKTOP_DISPLAY_H_

#include <cstdint>

#include "platform/desktop/frames/pixel_rect.h"

namespace qrv::desktop {

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
  // The desktop's name for it: "HDMI-1". Truncated to fit; empty when there is none.
  char name[64] = "";

  bool operator==(const Display&) const = default;
};

inline PixelRect AllPixels(const Display& display) {
  return {0, 0, display.pixelWidth, display.pixelHeight};
}

// Sets the members that depend on the bits per pixel: 8, 16, 30 or 32; false for any other number.
bool SetDepth(int32_t bitsPerPixel, Display& display);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DISPLAY_H_
