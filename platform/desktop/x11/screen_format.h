// How an X server stores the pixels of its root window.
#ifndef PLATFORM_DESKTOP_X11_SCREEN_FORMAT_H_
#define PLATFORM_DESKTOP_X11_SCREEN_FORMAT_H_

#include <xcb/xcb.h>

#include "platform/desktop/pixel_format.h"

namespace qrv::desktop {

struct ScreenFormat {
  PixelFormat pixels;
  xcb_colormap_t colormap = 0;  // of a mapped format
};

// The format of a screen's root window. False for formats that are not supported: less than 8 bits
// a pixel, samples of more than 12 bits, colour maps of more than 256 entries.
bool FindScreenFormat(const xcb_setup_t* setup, const xcb_screen_t& screen, ScreenFormat& format);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_SCREEN_FORMAT_H_
