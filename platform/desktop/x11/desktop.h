// The desktop of an X server. Each job has files of its own: address finds the server, authority
// has the credentials, connection talks to it, screen makes displays of its monitors, backend
// captures them, and segments is the memory that is shared with it.
#ifndef PLATFORM_DESKTOP_X11_DESKTOP_H_
#define PLATFORM_DESKTOP_X11_DESKTOP_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// The desktop of the server with that display name: ":0", "host:10.0", the path of a socket.
// Connects on first use. Throws Error when it is not a display name.
std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_DESKTOP_H_
