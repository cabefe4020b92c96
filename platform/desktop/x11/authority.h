// The credentials of a user for an X server.
#ifndef PLATFORM_DESKTOP_X11_AUTHORITY_H_
#define PLATFORM_DESKTOP_X11_AUTHORITY_H_

#include <cstdint>
#include <string>

namespace qrv::desktop::x11 {

// The name of an authorization protocol, and the secret. Both are empty when the user has none.
struct Authority {
  std::string name;
  std::string data;
};

// The user's authority for the display of that number on the server that the socket is connected
// to, from the authority file. Only a regular file of at most a megabyte is read.
Authority FindAuthority(int socket, uint16_t displayNumber);

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_AUTHORITY_H_
