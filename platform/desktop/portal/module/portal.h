// Pixels by org.freedesktop.portal.Screenshot: one picture of the whole desktop a capture, cut by
// the outputs' places. A person may be asked, and is waited for up to a minute.
#ifndef PLATFORM_DESKTOP_PORTAL_MODULE_PORTAL_H_
#define PLATFORM_DESKTOP_PORTAL_MODULE_PORTAL_H_

#include "platform/desktop/portal/library.h"

namespace qrv::desktop::portal {

// As OpenPortal of library.h, in the module itself, which calls `tell` when it waits for a person.
std::unique_ptr<wayland::PixelSource> OpenPortalSource(void (*tell)(const char* words),
                                                       std::string& problem);

}  // namespace qrv::desktop::portal

#endif  // PLATFORM_DESKTOP_PORTAL_MODULE_PORTAL_H_
