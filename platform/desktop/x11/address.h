// The address of an X server: parsing a display name, and connecting a socket.
#ifndef PLATFORM_DESKTOP_X11_ADDRESS_H_
#define PLATFORM_DESKTOP_X11_ADDRESS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::x11 {

struct Address {
  std::string path;  // of a Unix socket, when the name is one
  std::string host;  // empty: this machine
  uint16_t number = 0;
  uint16_t screen = 0;
};

// A display name is "host:number.screen", where the screen may be left out and is 0 then, and no
// host or "unix" means this machine; or the path of a socket. Nothing for any other text.
std::optional<Address> ParseDisplayName(std::string_view name);

// A close-on-exec, non-blocking socket to the server. Empty when none listens there, or its queue
// of connections stays full until the deadline. The deadline does not bound the lookup of a host
// name.
UniqueFd ConnectTo(const Address& address, Deadline deadline);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_ADDRESS_H_
