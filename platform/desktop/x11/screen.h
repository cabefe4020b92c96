// The displays of an X server, which are its monitors.
#ifndef PLATFORM_DESKTOP_X11_SCREEN_H_
#define PLATFORM_DESKTOP_X11_SCREEN_H_

#include <cstdint>
#include <vector>

#include "platform/desktop/display.h"
#include "platform/desktop/frames/pixel_format.h"
#include "platform/desktop/x11/connection.h"

namespace qrv::desktop::x11 {

// The identifier of a whole root window as a display. A monitor's identifier is the atom of its
// name, which is below 2^29 and stays the same while the server runs.
inline constexpr uint32_t kWholeRootId = 0x80000000;

// Areas are in the root window's pixels, from its top-left corner.
struct Monitor {
  uint32_t name = 0;
  bool isPrimary = false;
  PixelRect area;
};

struct PlacedMonitor {
  Display display;
  PixelRect area;
};

// The monitors as displays, main display first: the primary monitor, or the first one. Monitors are
// cut to the root window; when none is left, the whole root window is one display.
std::vector<PlacedMonitor> PlaceMonitors(const std::vector<Monitor>& monitors, int32_t rootWidth,
                                         int32_t rootHeight, const PixelFormat& format);

// Asks the server for its monitors and the size of the root window in one round trip, and in
// another for the names of the monitors that are not in `known`. Throws Error.
std::vector<PlacedMonitor> QueryMonitors(Connection& connection,
                                         const std::vector<PlacedMonitor>& known);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_SCREEN_H_
