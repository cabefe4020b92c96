// The pointer of an X server.
#ifndef PLATFORM_DESKTOP_X11_POINTER_H_
#define PLATFORM_DESKTOP_X11_POINTER_H_

#include <optional>

#include "platform/desktop/frames/pointer.h"
#include "platform/desktop/x11/connection.h"

namespace qrv::desktop::x11 {

// The pointer's image as it is now, in the root window's pixels; nothing when the server does not
// tell (XFixes). Throws Error.
std::optional<PointerImage> QueryPointer(Connection& connection);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_POINTER_H_
