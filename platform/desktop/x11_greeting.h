// What comes before xcb: who may use the server, and whether it will have us.
#ifndef PLATFORM_DESKTOP_X11_GREETING_H_
#define PLATFORM_DESKTOP_X11_GREETING_H_

#include <string>

#include "platform/desktop/x11_socket.h"

namespace qrv::desktop {

// A protocol's name and its secret; both empty when the user has none for the server.
struct Authority {
  std::string name;
  std::string data;
};

// The user's authority for the server that the socket is connected to, from the authority file.
Authority FindAuthority(int socket, const ServerName& name);

enum class Greeting { kWelcome, kRefused, kNoAnswer };

// Introduces a client on a fresh socket and waits for the first word of the server's answer; the
// rest of it stays unread. `reason` is the server's own, in one line, when it refuses.
//
// xcb writes a refusal to the process's standard error, and can't tell it from a lost connection.
// So a socket that nothing else is done with asks first, and xcb gets the next one.
Greeting Greet(int socket, const Authority& authority, Deadline deadline, std::string& reason);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_GREETING_H_
