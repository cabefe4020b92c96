// Pixels by ext_image_copy_capture_manager_v1.
#ifndef PLATFORM_DESKTOP_WAYLAND_IMAGE_COPY_H_
#define PLATFORM_DESKTOP_WAYLAND_IMAGE_COPY_H_

#include <memory>

#include "platform/desktop/wayland/backend.h"

namespace qrv::desktop::wayland {

// Throws Error when the compositor does not offer it.
std::unique_ptr<Backend> OpenImageCopy(Connection& connection, const Screen& screen);

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_IMAGE_COPY_H_
