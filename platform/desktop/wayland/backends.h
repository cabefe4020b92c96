// The backends, and the choice between them.
#ifndef PLATFORM_DESKTOP_WAYLAND_BACKENDS_H_
#define PLATFORM_DESKTOP_WAYLAND_BACKENDS_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/screen.h"

namespace qrv::desktop::wayland {

// The compositor's own protocols. Each throws Error when the compositor does not offer it.
// zwlr_screencopy_manager_v1, versions 1 to 3:
std::unique_ptr<Backend> OpenScreencopy(Connection& connection, const Screen& screen);
// ext_image_copy_capture_manager_v1:
std::unique_ptr<Backend> OpenImageCopy(Connection& connection, const Screen& screen);

// The first available backend in the order of the table in backends.cpp; with `byPortal`, only the
// portal. Throws Error when none is available, with the reason of each.
std::unique_ptr<Backend> ChooseBackend(Connection& connection, const Screen& screen, bool byPortal);

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_BACKENDS_H_
