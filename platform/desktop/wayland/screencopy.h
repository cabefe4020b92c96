// Pixels by zwlr_screencopy_manager_v1, versions 1 to 3.
#ifndef PLATFORM_DESKTOP_WAYLAND_SCREENCOPY_H_
#define PLATFORM_DESKTOP_WAYLAND_SCREENCOPY_H_

#include <memory>

#include "platform/desktop/wayland/pixels.h"

namespace qrv::desktop::wayland {

// Null, and one line in `problem`, when the compositor has not got it.
std::unique_ptr<PixelSource> OpenScreencopy(Connection& connection, const Screen& screen,
                                            std::string& problem);

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SCREENCOPY_H_
