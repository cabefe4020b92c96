// A connection to an X server: requests, and the replies to them.
//
// The protocol's encoding is written out here. The usual client library waits without limit, trusts
// the counts in replies, writes to standard error and closes descriptors by number; a guest in
// another program's process may do none of that.
#ifndef PLATFORM_DESKTOP_X11_CONNECTION_H_
#define PLATFORM_DESKTOP_X11_CONNECTION_H_

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/descriptors.h"
#include "platform/desktop/x11/address.h"
#include "platform/desktop/x11/reply.h"
#include "platform/desktop/x11/screen_format.h"

namespace qrv::desktop::x11 {

// Sending and waiting throw Error; Error::LosesConnection says whether the connection is still
// usable then.
class Connection {
 public:
  // Identifies a request and its reply.
  using Sequence = uint16_t;

  // Connects to the server, which messages call `peer`, and begins a call with that deadline.
  Connection(const Address& address, std::string peer, Deadline deadline);

  // Begins a call: whatever is awaited from now on must arrive by the deadline. Drops what arrived
  // since the last call.
  void BeginCall(Deadline deadline);

  const ScreenFormat& screen() const { return screen_; }
  // The opcodes of extensions; 0 when the server does not support that version.
  uint8_t randr() const { return randr_; }  // version 1.5
  uint8_t shm() const { return shm_; }      // MIT-SHM 1.2, on this machine

  // The opcode of another extension; 0 when the server lacks it.
  uint8_t FindExtension(std::string_view name) { return AwaitOpcode(QueryExtension(name)); }

  // A new identifier for something that a request creates.
  uint32_t NewId();

  // Queues a request of these words, followed by those bytes; it is sent when something is awaited.
  // With a descriptor, which stays the caller's, it is sent at once. `data` is the second byte: the
  // request's number within an extension, or an argument of a core request.
  Sequence Send(uint8_t opcode, uint8_t data, std::initializer_list<uint32_t> words,
                std::span<const std::byte> bytes = {}, int fd = -1);

  // The reply to a request; nothing when the server answers with an error. Drops replies to earlier
  // requests.
  std::optional<Reply> Await(Sequence request);
  // Throws Error with Reason::kRefused and that message when the server answers with an error.
  Reply Await(Sequence request, const char* errorMessage);
  // Waits until the server has handled the latest request, which has no reply. False when it
  // answers with an error.
  bool AwaitSuccess();

 private:
  struct Message {
    bool IsError() const { return type == 0; }
    bool IsReply() const { return type == 1; }

    uint8_t type;  // the others are events
    Sequence sequence;
    Reply bytes;
  };

  void Handshake(const Address& address);
  void FindExtensions();
  Sequence QueryExtension(std::string_view name);
  uint8_t AwaitOpcode(Sequence query);

  [[noreturn]] void Fail(Reason reason, const std::string& how) const;
  [[noreturn]] void FailClosed() const { Fail(Reason::kUnreachable, " closed the connection"); }
  void AwaitSocket(short events) const;
  void Append(std::span<const std::byte> bytes);
  void Flush(int fd = -1);
  void ReceiveBytes(std::span<uint8_t> bytes);
  Reply ReceiveRest(std::span<const uint8_t> head, size_t bytes);
  Message ReceiveMessage();
  Message ReceiveAnswer();

  KeptFd socket_;
  std::string peer_;  // "X server :0"
  Deadline deadline_;
  ScreenFormat screen_;
  uint8_t randr_ = 0;
  uint8_t shm_ = 0;
  uint32_t idBase_ = 0;
  uint32_t idMask_ = 0;
  uint32_t lastId_ = 0;
  Sequence sequence_ = 0;  // of the latest request
  std::vector<uint32_t> toSend_;
};

// Two 16-bit fields of a request.
inline uint32_t Pair(int32_t first, int32_t second) {
  return (static_cast<uint32_t>(first) & 0xFFFF) | static_cast<uint32_t>(second) << 16;
}

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_CONNECTION_H_
