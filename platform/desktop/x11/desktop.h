// The desktop of an X server. The jobs, each in files of its own: address finds the server,
// authority is what admits us, connection talks to it, screen makes displays of its monitors,
// pixels fetches them, through the shared memory of segments where it can.
#ifndef PLATFORM_DESKTOP_X11_DESKTOP_H_
#define PLATFORM_DESKTOP_X11_DESKTOP_H_

#include <memory>
#include <string>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// Whether a text is the name of an X display: ":0", "host:10.0", the path of a socket.
bool IsX11DisplayName(const std::string& text);

// The desktop of the server with that display name. Connects on first use.
std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_DESKTOP_H_
