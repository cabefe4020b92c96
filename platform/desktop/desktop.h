// A desktop: a set of displays and their pixels. The frameworks of this platform stand on it.
//
// Coordinates. A display's bounds are in the global space: units, y growing downward, the main
// display's top-left corner at (0, 0), right and bottom edges exclusive. A part to capture is in
// the display's own pixels, from its top-left corner. Most displays have one pixel per unit.
#ifndef PLATFORM_DESKTOP_DESKTOP_H_
#define PLATFORM_DESKTOP_DESKTOP_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qrv::desktop {

struct PixelRect {
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;
};

struct Display {
  uint32_t id = 0;  // non-zero, stable while the display exists
  PixelRect bounds;
  int32_t pixelWidth = 0;
  int32_t pixelHeight = 0;
  int32_t bitsPerPixel = 0;        // of the screen: 32, 24, 30, 16 or 8
  int32_t bitsPerSample = 0;       // 8, 10, 5 or 8 (one sample)
  int32_t samplesPerPixel = 0;     // 3, or 1 for a screen of 8 bits per pixel
  int16_t quickDrawPixelSize = 0;  // 32, 16 or 8
};

// A captured rectangle: rows from top to bottom, 4 bytes a pixel: blue, green, red, unused.
// `owner` keeps `pixels` alive and unchanged; an empty owner means that the capture failed.
struct Frame {
  std::shared_ptr<void> owner;
  uint8_t* pixels = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  size_t rowBytes = 0;

  explicit operator bool() const { return owner != nullptr; }
};

class Desktop {
 public:
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  // The displays as they are now, main display first. False when the desktop can't be reached;
  // the next call tries again. Throws nothing but std::bad_alloc.
  virtual bool ListDisplays(std::vector<Display>& displays) = 0;

  // The pixels of a part of a display as they are now. `part` is not empty and lies within the
  // display's pixels. An empty frame when the display is gone, the desktop can't be reached, does
  // not answer in time, or there is no memory.
  virtual Frame Capture(const Display& display, const PixelRect& part) = 0;

  // What a person calls it: "X11 :0", "virtual desktop". Lives as long as the desktop.
  virtual const char* Name() const = 0;

  // One line on why the last call failed; empty when it didn't. Valid until the next call.
  virtual const char* Problem() const { return ""; }
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DESKTOP_H_
