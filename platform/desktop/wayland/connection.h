// A connection to a Wayland compositor: objects, and the messages to and from them.
//
// The protocol's encoding is written out here. The usual client library ends the process when
// memory, descriptors or room for what it sends run out, and writes to standard error; a guest in
// somebody's process may do neither.
#ifndef PLATFORM_DESKTOP_WAYLAND_CONNECTION_H_
#define PLATFORM_DESKTOP_WAYLAND_CONNECTION_H_

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/waiting.h"

namespace qrv::desktop::wayland {

// The arguments of an event, taken in order. What the message is too short for is 0 or "", and the
// message is broken.
class Arguments {
 public:
  explicit Arguments(std::span<const uint32_t> words) : words_(words) {}

  uint32_t TakeUint();
  int32_t TakeInt() { return static_cast<int32_t>(TakeUint()); }
  std::string TakeString();

  bool isBroken() const { return isBroken_; }

 private:
  std::span<const uint32_t> words_;
  bool isBroken_ = false;
};

class Connection {
 public:
  // What an object does with its events. It may send requests and make objects.
  using Handler = std::function<void(uint32_t event, Arguments& arguments)>;

  // Connects to the compositor that listens at that path. Null, and one line in `problem`, when it
  // can't be done by the deadline; `timedOut` says whether that was for want of room in its queue.
  // What is awaited on it first must come by the deadline too.
  static std::unique_ptr<Connection> Open(const std::string& path, Deadline deadline,
                                          std::string& problem, bool& timedOut);

  // Gives the compositor until then for all that is awaited from now on, if the descriptor still is
  // the connection's. Called at the start of a call.
  void BeginWaiting(Deadline deadline);

  // The connection is of no use any more: closed, by whomever, broken off with a protocol error, or
  // `timedOut`.
  bool isLost() const { return isLost_; }
  bool timedOut() const { return timedOut_; }
  // The compositor's own words when it has broken off, in one line.
  const std::string& complaint() const { return complaint_; }

  // A new object, to be named in the request that makes it. Throws std::bad_alloc, like all below.
  uint32_t NewObject(Handler handler = nullptr);
  // Gives back one that no request has named.
  void GiveBack(uint32_t object) { unused_.push_back(object); }
  // Drops the events of an object from now on.
  void Drop(uint32_t object) { handlers_[object] = nullptr; }
  void Destroy(uint32_t object, uint32_t request) {
    Send(object, request, {});
    Drop(object);
  }

  // Sends a request, at the latest when something is awaited; with a descriptor, which stays the
  // caller's, at once.
  void Send(uint32_t object, uint32_t request, std::initializer_list<uint32_t> words, int fd = -1);
  void SendBind(uint32_t registry, uint32_t name, std::string_view interface, uint32_t version,
                uint32_t object);

  // Handles events until `isDone()`. False when the connection is lost first.
  template <typename Condition>
  bool Await(Condition isDone) {
    while (!isDone()) {
      if (isLost_ || !Exchange()) return false;
    }
    return true;
  }

  // Until all that was sent has been handled.
  bool AwaitRoundTrip();

 private:
  explicit Connection(UniqueFd socket);

  void Begin(uint32_t object, uint32_t request, size_t words);
  void Lose() { isLost_ = true; }
  bool Exchange();
  bool Flush();
  bool Receive();
  bool HandleReceived();
  void HandleDisplayEvent(uint32_t event, Arguments& arguments);

  KeptFd socket_;
  Deadline deadline_;
  bool isLost_ = false;
  bool timedOut_ = false;
  std::string complaint_;
  std::vector<uint32_t> toSend_;
  std::vector<uint32_t> received_;
  size_t receivedBytes_ = 0;
  std::vector<Handler> handlers_;  // by object
  std::vector<uint32_t> unused_;   // objects that the compositor has deleted
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_CONNECTION_H_
