// Pixels by zwlr_screencopy_manager_v1, versions 1 to 3.
#ifndef PLATFORM_DESKTOP_WAYLAND_SCREENCOPY_H_
#define PLATFORM_DESKTOP_WAYLAND_SCREENCOPY_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"

namespace qrv::desktop::wayland {

// Throws Error when the compositor does not offer it.
std::unique_ptr<Backend> OpenScreencopy(Connection& connection, const Screen& screen);

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SCREENCOPY_H_
