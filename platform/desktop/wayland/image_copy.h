// Pixels by ext_image_copy_capture_manager_v1.
#ifndef PLATFORM_DESKTOP_WAYLAND_IMAGE_COPY_H_
#define PLATFORM_DESKTOP_WAYLAND_IMAGE_COPY_H_

#include <memory>

#include "platform/desktop/wayland/pixels.h"

namespace qrv::desktop::wayland {

// Null, and one line in `problem`, when the compositor has not got it.
std::unique_ptr<PixelSource> OpenImageCopy(Connection& connection, const Screen& screen,
                                           std::string& problem);

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_IMAGE_COPY_H_
