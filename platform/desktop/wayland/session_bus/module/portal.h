// The backend over org.freedesktop.portal.Screenshot: one picture of the whole desktop per capture,
// from which the outputs are cut. It may ask a person.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PORTAL_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PORTAL_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"
#include "platform/desktop/wayland/session_bus/module_interface.h"

namespace qrv::desktop::wayland::session_bus {

// `personTimeout` is how long a person may take to answer. Throws Error when the portal is
// unavailable.
std::unique_ptr<Backend> OpenPortalBackend(const PersonCalls& person, Clock::duration personTimeout,
                                           Deadline deadline);

}  // namespace qrv::desktop::wayland::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PORTAL_H_
