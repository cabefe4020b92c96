// The backend over org.kde.KWin.ScreenShot2, which KWin offers to programs whose desktop file lists
// it under X-KDE-DBUS-Restricted-Interfaces.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_KWIN_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_KWIN_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"

namespace qrv::desktop::wayland::session_bus {

// Throws Error when KWin is unavailable or refuses this program.
std::unique_ptr<Backend> OpenKWinBackend(const PlacedOutput& output, Deadline deadline);

}  // namespace qrv::desktop::wayland::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_KWIN_H_
