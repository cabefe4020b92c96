// A connection to an X server: opened, asked, and given up in bounded time.
#ifndef PLATFORM_DESKTOP_X11_CONNECTION_H_
#define PLATFORM_DESKTOP_X11_CONNECTION_H_

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/desktop/waiting.h"
#include "platform/desktop/x11/reach.h"
#include "platform/desktop/x11/screen_format.h"

namespace qrv::desktop {

struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;

class Connection {
 public:
  // Connects to the server of that name, which has until `greetBy` to greet and kPatience for all
  // of it. Null, and one line in `problem`, when it can't be done; `timedOut` says whether that was
  // for want of an answer. Throws std::bad_alloc and std::system_error (no thread to be had).
  static std::unique_ptr<Connection> Open(const std::string& displayName, Deadline greetBy,
                                          std::string& problem, bool& timedOut);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  xcb_connection_t* get() const { return xcb_; }
  const xcb_screen_t& screen() const { return *screen_; }
  const ScreenFormat& format() const { return format_; }
  bool hasMonitors() const { return hasMonitors_; }  // RandR 1.5
  bool hasSegments() const { return hasSegments_; }  // MIT-SHM 1.2, on this machine

  // Drops what the server sent unasked and gives it kPatience from now, if the descriptors still
  // are the connection's. Called at the start of a call, and again whenever a part of a long call
  // is done.
  void BeginWaiting();

  // The connection is of no use any more: closed, by whomever, or `timedOut`.
  bool isLost() const { return isForeign_ || timedOut_ || xcb_connection_has_error(xcb_) != 0; }
  bool timedOut() const { return timedOut_; }

  // In a process that has inherited the connection: lets go of it, and leaves it as it is to the
  // process that opened it.
  void LeaveOpen();

  // Wait for a reply; null when the request failed or the connection is lost. Every request that
  // has a reply must be awaited or given up, else the reply is kept for ever.
  // Short replies are those of 32 bytes: they arrive whole, so waiting for them needs no watchdog.
  template <typename T>
  Reply<T> AwaitShort(unsigned sequence) {
    return Reply<T>(static_cast<T*>(AwaitShortReply(sequence)));
  }
  template <typename T>
  Reply<T> AwaitLong(unsigned sequence) {
    return Reply<T>(static_cast<T*>(AwaitLongReply(sequence)));
  }

 private:
  Connection() = default;

  bool SetUp(UniqueFd socket, const std::string& answer, int screenNumber, Deadline deadline,
             std::string& problem);
  bool FindScreen(int number);
  bool FindExtensions();
  void* AwaitShortReply(unsigned sequence);
  void* AwaitLongReply(unsigned sequence);

  xcb_connection_t* xcb_ = nullptr;
  KeptFd socket_;  // the same as xcb's, under a number of its own, for the watchdog
  const xcb_screen_t* screen_ = nullptr;
  ScreenFormat format_;
  bool hasMonitors_ = false;
  bool hasSegments_ = false;
  Deadline deadline_;
  bool timedOut_ = false;
  bool isForeign_ = false;  // another file has a descriptor's number
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_CONNECTION_H_
