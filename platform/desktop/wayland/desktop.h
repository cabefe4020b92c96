// The desktop of a Wayland compositor. Each job has files of its own: connection talks to the
// compositor, screen makes displays of its outputs, backends chooses what captures them, each
// backend is a file of its name, and segments and shared_image are the memory that is shared with
// the compositor.
#ifndef PLATFORM_DESKTOP_WAYLAND_DESKTOP_H_
#define PLATFORM_DESKTOP_WAYLAND_DESKTOP_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// The desktop of the compositor that listens at that socket: a path, or a name in the folder
// XDG_RUNTIME_DIR. Connects on first use. `byPortal` captures through the desktop portal, whatever
// else the compositor offers.
std::unique_ptr<Desktop> OpenWaylandDesktop(const std::string& socket, bool byPortal);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_WAYLAND_DESKTOP_H_
