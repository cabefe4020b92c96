// Pixels by org.freedesktop.portal.Screenshot: one picture of the whole desktop a capture, cut by
// the outputs' places. A person may be asked.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PORTAL_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PORTAL_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"
#include "platform/desktop/wayland/session_bus/module_interface.h"

namespace qrv::desktop::session_bus {

// A person who may be asked has `patience` to answer. Throws Error when the portal is not there.
std::unique_ptr<wayland::Backend> OpenPortalBackend(const PersonCalls& person,
                                                    Clock::duration patience, Deadline deadline);

}  // namespace qrv::desktop::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PORTAL_H_
