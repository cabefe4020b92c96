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

class Connection {
 public:
  // A request's number, by which its reply is known.
  using Sequence = uint16_t;

  // Connects to the server with that display name; a call with that deadline has begun then. Throws
  // Error, like all that sends or awaits: with Reason::kTimeout or kUnreachable when the connection
  // is of no use any more.
  Connection(const std::string& displayName, Deadline deadline);

  const ScreenFormat& screen() const { return screen_; }
  // What the requests of an extension begin with; 0 when the server lacks what is used of it.
  uint8_t randr() const { return randr_; }  // version 1.5
  uint8_t shm() const { return shm_; }      // MIT-SHM 1.2, on this machine

  // What the requests of another extension begin with; 0 when the server lacks it.
  uint8_t FindExtension(std::string_view name) { return AwaitOpcode(QueryExtension(name)); }

  // Gives the server until then for all that is awaited from now on, and drops what it sent
  // unasked.
  void BeginCall(Deadline deadline);

  // An identifier for something that a request makes.
  uint32_t NewId();

  // Sends a request of these words, followed by those bytes, at the latest when something is
  // awaited; with a descriptor, which stays the caller's, at once. `data` is the second byte: an
  // extension's request, or what a request of the core puts there.
  Sequence Send(uint8_t opcode, uint8_t data, std::initializer_list<uint32_t> words,
                std::span<const std::byte> bytes = {}, int fd = -1);

  // The reply to a request; none when the server answers with an error. Replies to earlier requests
  // are dropped.
  std::optional<Reply> Await(Sequence request);
  // Throws with Reason::kRefused and that message when the server answers with an error.
  Reply Await(Sequence request, const char* refusal);
  // Whether the latest request, one without a reply, was carried out.
  bool IsCarriedOut();

 private:
  struct Message {
    bool isError() const { return type == 0; }
    bool isReply() const { return type == 1; }

    uint8_t type;  // the others are events
    Sequence sequence;
    Reply bytes;
  };

  void ShakeHands(const Address& address);
  void FindExtensions();
  Sequence QueryExtension(std::string_view name);
  uint8_t AwaitOpcode(Sequence query);

  Error Lost(Reason reason, const char* what) const { return {reason, server_ + what}; }
  void Append(std::span<const std::byte> bytes);
  void Flush(int fd = -1);
  void ReceiveBytes(std::span<uint8_t> bytes);
  Reply ReceiveRest(std::span<const uint8_t> head, size_t bytes);
  Message ReceiveMessage();
  Message ReceiveAnswer();

  std::string server_;  // "X server :0"
  KeptFd socket_;
  Deadline deadline_;
  ScreenFormat screen_;
  uint8_t randr_ = 0;
  uint8_t shm_ = 0;
  uint32_t idBase_ = 0;
  uint32_t idMask_ = 0;
  uint32_t lastId_ = 0;
  Sequence sequence_ = 0;  // the latest request's
  std::vector<uint32_t> toSend_;
};

// Two 16-bit fields of a request.
inline uint32_t Pair(int32_t first, int32_t second) {
  return (static_cast<uint32_t>(first) & 0xFFFF) | static_cast<uint32_t>(second) << 16;
}

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_CONNECTION_H_
