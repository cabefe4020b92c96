// How an X server is reached, before xcb: by its name, with the user's authority, and only if it
// will have us.
#ifndef PLATFORM_DESKTOP_X11_REACH_H_
#define PLATFORM_DESKTOP_X11_REACH_H_

#include <string>

#include "platform/desktop/waiting.h"

namespace qrv::desktop {

// A display name, taken apart: "host:number.screen". No host, "unix", or a path means a socket on
// this machine.
struct ServerName {
  std::string host;
  int number = 0;
  int screen = 0;
};

bool ParseServerName(const std::string& displayName, ServerName& name);

// A close-on-exec, non-blocking socket to the server; none when nobody listens there or the
// server's queue stays full until the deadline. The lookup of a host's name takes its own time.
UniqueFd ConnectSocket(const ServerName& name, Deadline deadline);

// A protocol's name and its secret; both empty when the user has none for the server.
struct Authority {
  std::string name;
  std::string data;
};

// The user's authority for the server that the socket is connected to, from the authority file.
Authority FindAuthority(int socket, const ServerName& name);

enum class Greeting { kWelcome, kRefused, kNoAnswer };

// Introduces a client on a fresh socket and reads the server's answer: all of it when it is
// welcome, else the server's own reason, in one line.
//
// xcb would write a refusal to the process's standard error, can't tell it from a lost connection,
// and waits for an answer without limit. So it gets an answer that has come already.
Greeting Greet(int socket, const Authority& authority, Deadline deadline, std::string& answer);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_REACH_H_
