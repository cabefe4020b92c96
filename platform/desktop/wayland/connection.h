// A connection to a Wayland compositor: objects, and the messages to and from them.
//
// The protocol's encoding is written out here. The usual client library ends the process when
// memory, descriptors or buffer space run out, and writes to standard error; a guest in another
// program's process may do neither.
#ifndef PLATFORM_DESKTOP_WAYLAND_CONNECTION_H_
#define PLATFORM_DESKTOP_WAYLAND_CONNECTION_H_

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop::wayland {

// The arguments of an event, taken in order. An argument that the message is too short for is 0 or
// "", and rejects the message.
class Arguments {
 public:
  explicit Arguments(std::span<const uint32_t> words) : words_(words) {}

  uint32_t TakeUint();
  int32_t TakeInt() { return static_cast<int32_t>(TakeUint()); }
  std::string TakeString();

  // Makes the event a protocol error: the connection fails once the event is handled.
  void Reject(const char* reason) { rejection_ = reason; }
  const char* rejection() const { return rejection_; }  // null when the event is valid

 private:
  std::span<const uint32_t> words_;
  const char* rejection_ = nullptr;
};

// Sending and waiting throw Error when the connection is lost: closed by either process, ended by a
// protocol error of either, or timed out. It can't be used again then.
class Connection {
 public:
  // Handles an object's events. It may send requests and make objects.
  using Handler = std::function<void(uint32_t event, Arguments& arguments)>;

  // Connects to the compositor that listens at that path, which messages call `peer`, and begins a
  // call with that deadline.
  Connection(const std::string& path, std::string peer, Deadline deadline);

  // Begins a call: whatever is awaited from now on must arrive by the deadline.
  void BeginCall(Deadline deadline);

  Deadline deadline() const { return deadline_; }

  // A new object, for the request that creates it. Throws std::bad_alloc, like all below, and Error
  // when the compositor does not delete the objects that have ended.
  uint32_t NewObject(Handler handler = nullptr);
  // Ignores the object's events from now on. Its number is free once the compositor deletes it.
  void Drop(uint32_t object) { objects_[object] = {nullptr, State::kEnded}; }
  // Drops the object and sends the request that destroys it. Without memory for the request, the
  // compositor keeps the object until the connection ends.
  void Destroy(uint32_t object, uint32_t request) noexcept;

  // Queues a request, which is sent when something is awaited. With a descriptor, which stays the
  // caller's, it is sent at once.
  void Send(uint32_t object, uint32_t request, std::initializer_list<uint32_t> words, int fd = -1);
  void SendBind(uint32_t registry, uint32_t name, std::string_view interface, uint32_t version,
                uint32_t object);

  // Handles events until `isDone()`.
  template <typename Condition>
  void Await(Condition isDone) {
    while (!isDone()) Exchange();
  }

  // Handles events until the compositor has handled all requests.
  void AwaitRoundTrip();

 private:
  enum class State { kLive, kEnded, kFree };
  struct Object {
    Handler handler;
    State state = State::kLive;
  };

  [[noreturn]] void Fail(Reason reason, const std::string& how) const;
  [[noreturn]] void FailClosed() const { Fail(Reason::kUnreachable, " closed the connection"); }
  [[noreturn]] void FailProtocol(const char* message) const;
  void AwaitSocket(short events) const;
  void AppendHeader(uint32_t object, uint32_t request, size_t words);
  void Exchange();
  void Flush(int fd = -1);
  bool Receive();
  void HandleReceived();
  void HandleDisplayEvent(uint32_t event, Arguments& arguments);

  KeptFd socket_;
  std::string peer_;  // "the Wayland compositor at /run/user/1000/wayland-1"
  Deadline deadline_;
  std::vector<uint32_t> toSend_;
  std::vector<uint32_t> received_;
  size_t receivedBytes_ = 0;
  std::vector<Object> objects_;  // by number
  std::vector<uint32_t> free_;   // numbers that the compositor has deleted
};

// An object that is destroyed at the end of its scope. Its handler is not called after that.
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
