// The windows of an X server.
#ifndef PLATFORM_DESKTOP_X11_WINDOWS_H_
#define PLATFORM_DESKTOP_X11_WINDOWS_H_

#include <vector>

#include "platform/desktop/window.h"
#include "platform/desktop/x11/connection.h"

namespace qrv::desktop::x11 {

// The windows, the top one first: those that the window manager lists (EWMH), or without one the
// visible children of the root window. `main` is the main display's area of the root window. Throws
// Error.
std::vector<Window> QueryWindows(Connection& connection, const PixelRect& main);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_WINDOWS_H_
