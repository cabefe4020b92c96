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
#include <utility>
#include <vector>

#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::wayland {

// The arguments of an event, taken in order. What the message is too short for is 0 or "", and the
// message is rejected.
class Arguments {
 public:
  explicit Arguments(std::span<const uint32_t> words) : words_(words) {}

  uint32_t TakeUint();
  int32_t TakeInt() { return static_cast<int32_t>(TakeUint()); }
  std::string TakeString();

  // Makes the event a protocol error, with which the connection is lost once it is handled.
  void Reject(const char* why) { whyRejected_ = why; }
  const char* whyRejected() const { return whyRejected_; }  // null unless it was

 private:
  std::span<const uint32_t> words_;
  const char* whyRejected_ = nullptr;
};

// Waiting throws Error when the connection is lost: closed, whether by this process or the other,
// broken off with a protocol error by either, or out of time. It is of no use any more then.
class Connection {
 public:
  // What an object does with its events. It may send requests and make objects.
  using Handler = std::function<void(uint32_t event, Arguments& arguments)>;

  // Connects to the compositor `peer`, which listens at that path. What is awaited on it first must
  // come by the deadline too.
  static std::unique_ptr<Connection> Open(const std::string& path, std::string peer,
                                          Deadline deadline);

  // Gives the compositor until then for all that is awaited from now on, if the descriptor still is
  // the connection's.
  void BeginCall(Deadline deadline);
  Deadline deadline() const { return deadline_; }

  // A new object, to be named in the request that makes it. Throws std::bad_alloc, like all below,
  // and Error when the compositor keeps too many of those that have ended.
  uint32_t NewObject(Handler handler = nullptr);
  // Drops the events of an object from now on. Its number is free once the compositor deletes it.
  void Drop(uint32_t object) { objects_[object] = {nullptr, State::kEnded}; }
  // Drops it and sends the request that ends it; without memory for that, the compositor has it
  // until the connection ends.
  void Destroy(uint32_t object, uint32_t request) noexcept;

  // Sends a request, at the latest when something is awaited; with a descriptor, which stays the
  // caller's, at once.
  void Send(uint32_t object, uint32_t request, std::initializer_list<uint32_t> words, int fd = -1);
  void SendBind(uint32_t registry, uint32_t name, std::string_view interface, uint32_t version,
                uint32_t object);

  // Handles events until `isDone()`.
  template <typename Condition>
  void Await(Condition isDone) {
    while (!isDone()) Exchange();
  }

  // Until all that was sent has been handled.
  void AwaitRoundTrip();

 private:
  enum class State { kLive, kEnded, kFree };
  struct Object {
    Handler handler;
    State state = State::kLive;
  };

  Connection(UniqueFd socket, std::string peer);

  void Begin(uint32_t object, uint32_t request, size_t words);
  [[noreturn]] void Fail(const std::string& how) const;
  [[noreturn]] void FailByEnd() const { Fail(" closed the connection"); }
  void AwaitSocket(short events) const;
  void Exchange();
  void Flush();
  bool Receive();
  void HandleReceived();
  void HandleDisplayEvent(uint32_t event, Arguments& arguments);

  KeptFd socket_;
  std::string peer_;
  Deadline deadline_;
  std::vector<uint32_t> toSend_;
  std::vector<uint32_t> received_;
  size_t receivedBytes_ = 0;
  std::vector<Object> objects_;  // by number
  std::vector<uint32_t> free_;   // numbers that the compositor has deleted
};

// An object that is destroyed at the end of its scope, after which its handler is not called any
// more.
class ScopedObject {
 public:
  ScopedObject(Connection& connection, uint32_t destroyRequest,
               Connection::Handler handler = nullptr)
      : connection_(connection),
        id_(connection.NewObject(std::move(handler))),
        destroyRequest_(destroyRequest) {}
  ScopedObject(const ScopedObject&) = delete;
  ScopedObject& operator=(const ScopedObject&) = delete;
  ~ScopedObject() { connection_.Destroy(id_, destroyRequest_); }

  uint32_t id() const { return id_; }

 private:
  Connection& connection_;
  uint32_t id_;
  uint32_t destroyRequest_;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_CONNECTION_H_
