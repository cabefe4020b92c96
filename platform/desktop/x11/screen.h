// From an X server's monitors to displays.
#ifndef PLATFORM_DESKTOP_X11_SCREEN_H_
#define PLATFORM_DESKTOP_X11_SCREEN_H_

#include <cstdint>
#include <vector>

#include "platform/desktop/display.h"
#include "platform/desktop/frames/pixel_format.h"
#include "platform/desktop/x11/connection.h"

namespace qrv::desktop::x11 {

// The identifier of a root window that is shown as one display. Monitors have the atoms of their
// names, which are below 2^29, so theirs differ from it and stay the same while the server runs.
inline constexpr uint32_t kWholeRootId = 0x80000000;

// Areas are in the root window's pixels, from its top-left corner.
struct Monitor {
  uint32_t name = 0;
  bool isPrimary = false;
  PixelRect area;
};

struct PlacedDisplay {
  Display display;
  PixelRect area;
};

// The displays of a root window of that size, main display first: the primary monitor, or the first
// one. What lies outside of the root window is cut off; without any monitor inside, the whole root
// window is one display.
std::vector<PlacedDisplay> PlaceDisplays(const std::vector<Monitor>& monitors, int32_t rootWidth,
                                         int32_t rootHeight, const PixelFormat& format);

// Asks the server for its monitors and its root window's size, in one round trip, and in another
// for the names of monitors that are not among the displays known before. Throws Error.
std::vector<PlacedDisplay> QueryDisplays(Connection& connection,
                                         const std::vector<PlacedDisplay>& known);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_SCREEN_H_
