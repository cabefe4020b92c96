// The desktop of a Wayland compositor. The jobs, each in files of its own: connection talks to the
// compositor, screen makes displays of its outputs, backend chooses what captures them, and each
// backend is a file of its name; segments and shared_image are the memory that they share.
#ifndef PLATFORM_DESKTOP_WAYLAND_DESKTOP_H_
#define PLATFORM_DESKTOP_WAYLAND_DESKTOP_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// The desktop of the compositor that listens at that socket: a path, or a name in the folder
// XDG_RUNTIME_DIR. Connects on first use. With `byPortal` its pixels come through the desktop
// portal, whatever the compositor offers.
std::unique_ptr<Desktop> OpenWaylandDesktop(const std::string& socket, bool byPortal);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_WAYLAND_DESKTOP_H_
