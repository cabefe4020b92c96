// xcb waits without limit while it sets up a connection and while it reads a reply of more than
// one packet. The watchdog ends such a wait.
#ifndef PLATFORM_DESKTOP_X11_WATCHDOG_H_
#define PLATFORM_DESKTOP_X11_WATCHDOG_H_

#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/desktop/x11_socket.h"

namespace qrv::desktop {

// A thread that shuts the socket down at the deadline, unless the watchdog is destroyed before:
// whoever waits for the socket then sees the connection end. The thread runs none of the process's
// signal handlers. The constructor throws std::system_error when there is no thread to be had.
class Watchdog {
 public:
  // `socket` must stay open, and stay the same socket, while the watchdog lives: a duplicate of
  // xcb's descriptor, which xcb may close at any time.
  Watchdog(int socket, Deadline deadline);
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog();

  // Whether the deadline has passed and the socket been shut down.
  bool HasBitten();

 private:
  void Watch(int socket, Deadline deadline);

  std::mutex mutex_;
  std::condition_variable change_;
  bool calledOff_ = false;
  bool bitten_ = false;
  std::thread thread_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_WATCHDOG_H_
