// Where an X server listens: its display name, taken apart, and the socket that leads there.
#ifndef PLATFORM_DESKTOP_X11_ADDRESS_H_
#define PLATFORM_DESKTOP_X11_ADDRESS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::x11 {

struct Address {
  std::string path;  // of a socket on this machine that the name states itself
  std::string host;  // empty: this machine
  uint16_t number = 0;
  uint16_t screen = 0;
};

// A display name is "host:number.screen", where the screen is 0 when it is left out, and no host or
// "unix" means this machine; or the path of a socket. None for all other text.
std::optional<Address> ParseDisplayName(std::string_view name);

// A close-on-exec, non-blocking socket to the server; none when no server listens there or its
// queue stays full until the deadline. The lookup of a host's name takes its own time.
UniqueFd ConnectTo(const Address& address, Deadline deadline);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_ADDRESS_H_
