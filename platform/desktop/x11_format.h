// How an X server stores the pixels of its root window.
#ifndef PLATFORM_DESKTOP_X11_FORMAT_H_
#define PLATFORM_DESKTOP_X11_FORMAT_H_

#include <xcb/xcb.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// The bits of a pixel that hold one of its samples: (pixel >> shift) & max.
struct Channel {
  uint32_t shift = 0;
  uint32_t max = 0;  // 2^n - 1
};

struct PixelFormat {
  size_t bytesPerPixel = 0;  // 1 to 4
  size_t rowAlignment = 0;   // bytes
  bool bigEndian = false;
  std::array<Channel, 3> channels;  // red, green, blue
  // Whether the samples are indexes into the colour map. Without channels of their own, as in a
  // pseudo-colour visual, all three are the whole pixel.
  bool isMapped = false;
  xcb_colormap_t colormap = 0;
  uint32_t colormapEntries = 0;
};

// The format of a screen's root window. False for formats that are not supported: less than 8 bits
// a pixel, samples of more than 12 bits, colour maps of more than 256 entries.
bool FindPixelFormat(const xcb_setup_t* setup, const xcb_screen_t& screen, PixelFormat& format);

// Whether pixels lie in memory as a frame's do: blue, green, red, unused.
bool IsFrameFormat(const PixelFormat& format);

// From one row of an image to the next.
size_t ImageRowBytes(const PixelFormat& format, int32_t width);

// Fills in what a display of this format says of its pixels.
void DescribePixels(const PixelFormat& format, Display& display);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_FORMAT_H_
