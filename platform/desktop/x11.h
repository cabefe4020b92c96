// The desktop of an X server. The parts, each in files of its own: x11_socket finds the server,
// x11_connection talks to it, x11_geometry makes displays of its monitors, x11_pixels fetches their
// pixels, through the shared memory of x11_segments where it can, and x11_colors turns them into
// 8 bits a channel.
#ifndef PLATFORM_DESKTOP_X11_H_
#define PLATFORM_DESKTOP_X11_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// The desktop of the server with that display name (":0", "host:10.0"). Connects on first use.
std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_H_
