// How an X server stores the pixels of a screen.
#ifndef PLATFORM_DESKTOP_X11_SCREEN_FORMAT_H_
#define PLATFORM_DESKTOP_X11_SCREEN_FORMAT_H_

#include <xcb/xproto.h>

#include "platform/desktop/frames/pixel_format.h"
#include "platform/desktop/x11/reply.h"

namespace qrv::desktop::x11 {

struct ScreenFormat {
  uint32_t root = 0;  // window
  PixelFormat pixels;
  uint32_t colormap = 0;  // of a mapped format
};

// The format of the screen of that number, from the handshake's record and what follows it. Throws
// Error, also for unsupported formats: less than 8 bits per pixel, samples of more than 12 bits,
// colour maps of more than 256 entries.
ScreenFormat ReadScreenFormat(const xcb_setup_t& setup, Reply& rest, int number);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_SCREEN_FORMAT_H_
