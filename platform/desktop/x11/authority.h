// What admits a user to an X server.
#ifndef PLATFORM_DESKTOP_X11_AUTHORITY_H_
#define PLATFORM_DESKTOP_X11_AUTHORITY_H_

#include <cstdint>
#include <string>

namespace qrv::desktop::x11 {

// A protocol's name and its secret; both empty when the user has none for the server.
struct Authority {
  std::string name;
  std::string data;
};

// The user's authority for the display of that number, of the server that the socket is connected
// to, from the authority file. A file that is none, or is larger than a megabyte, is not read.
Authority FindAuthority(int socket, uint16_t displayNumber);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_AUTHORITY_H_
