// The windows of sway, and of compositors with the same IPC socket.
#ifndef PLATFORM_DESKTOP_WAYLAND_SWAY_WINDOWS_H_
#define PLATFORM_DESKTOP_WAYLAND_SWAY_WINDOWS_H_

#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/deadline.h"
#include "platform/desktop/window.h"

namespace qrv::desktop::wayland {

// The windows, the top one first, from the socket that SWAYSOCK or I3SOCK names. (mainX, mainY) is
// the main display's corner in the compositor's space. Throws Error, with Reason::kUnsupported when
// neither variable is set.
std::vector<Window> QuerySwayWindows(int32_t mainX, int32_t mainY, Deadline deadline);

// The windows of an answer to GET_TREE, as above but in the compositor's space. Throws Error when
// that is no tree.
std::vector<Window> ParseSwayTree(std::string_view json);

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SWAY_WINDOWS_H_
