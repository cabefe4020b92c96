// Pixels by org.kde.KWin.ScreenShot2, which KWin offers to programs whose desktop file lists it
// under X-KDE-DBUS-Restricted-Interfaces.
#ifndef PLATFORM_DESKTOP_PORTAL_MODULE_KWIN_H_
#define PLATFORM_DESKTOP_PORTAL_MODULE_KWIN_H_

#include "platform/desktop/portal/library.h"

namespace qrv::desktop::portal {

// As OpenKWin of library.h, in the module itself.
std::unique_ptr<wayland::PixelSource> OpenKWinSource(const Outputs& outputs, std::string& problem);

}  // namespace qrv::desktop::portal

#endif  // PLATFORM_DESKTOP_PORTAL_MODULE_KWIN_H_
