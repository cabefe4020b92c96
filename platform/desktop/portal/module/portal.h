// Pixels by org.freedesktop.portal.Screenshot: one picture of the whole desktop a capture, cut by
// the outputs' places. A person may be asked, and is waited for up to a minute.
#ifndef PLATFORM_DESKTOP_PORTAL_MODULE_PORTAL_H_
#define PLATFORM_DESKTOP_PORTAL_MODULE_PORTAL_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"

namespace qrv::desktop::portal {

// `report` is called when a capture waits for a person. Throws Error when the portal is not there.
std::unique_ptr<wayland::Backend> OpenPortalBackend(void (*report)(const char* message),
                                                    Deadline deadline);

}  // namespace qrv::desktop::portal

#endif  // PLATFORM_DESKTOP_PORTAL_MODULE_PORTAL_H_
