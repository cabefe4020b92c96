// The backends that use the session bus. They are in a library of their own, which is loaded when
// the compositor offers no capture protocol: few desktops need what it links, none of which the
// 32-bit build has.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_LIBRARY_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_LIBRARY_H_

#include <memory>
#include <vector>

#include "platform/desktop/wayland/backend.h"

namespace qrv::desktop::wayland::session_bus {

// The interface that KWin offers to programs whose desktop file asks for it. Throws Error when the
// bus, KWin or the permission is missing.
std::unique_ptr<Backend> OpenKWin(const std::vector<PlacedOutput>& outputs, Deadline deadline);

// The desktop portal: a picture of the whole desktop, for which a person may be asked. Throws Error
// when the bus or the portal is missing.
std::unique_ptr<Backend> OpenPortal(Deadline deadline);

}  // namespace qrv::desktop::wayland::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_LIBRARY_H_
