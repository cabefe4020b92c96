// Sockets to X servers.
#ifndef PLATFORM_DESKTOP_X11_SOCKET_H_
#define PLATFORM_DESKTOP_X11_SOCKET_H_

#include <chrono>
#include <string>

#include "platform/desktop/unique_fd.h"

namespace qrv::desktop {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// Waits for poll events of a descriptor, or for its end. False when the deadline passes first.
bool WaitFor(int fd, short events, Deadline deadline);

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

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_SOCKET_H_
