#include "platform/desktop/x11/connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/randr.h>
#include <xcb/shm.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/desktop/peer/socket.h"
#include "platform/desktop/x11/authority.h"

namespace qrv::desktop::x11 {
namespace {

// Bounds what a server can make us allocate and wait for. The largest replies that are asked for
// are half as long.
constexpr size_t kMaxReplyBytes = size_t{1} << 20;
constexpr size_t kMessageBytes = 32;
constexpr size_t kMaxReason = 160;

constexpr uint8_t kAccepted = 1;
constexpr uint8_t kMoreAuthentication = 2;
constexpr char kDoesNotAnswer[] = " does not answer";
constexpr char kClosed[] = " closed the connection";

bool IsLocal(int socket) {
  sockaddr_storage address = {};
  socklen_t length = sizeof address;
  return getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
         address.ss_family == AF_UNIX;
}

bool IsAtLeast(uint32_t major, uint32_t minor, uint32_t wantedMajor, uint32_t wantedMinor) {
  return major > wantedMajor || (major == wantedMajor && minor >= wantedMinor);
}

std::string PrintableStart(std::span<const uint8_t> text) {
  std::string start;
  for (const uint8_t each : text.first(std::min(text.size(), kMaxReason))) {
    if (each < ' ' || each > '~') break;
    start += static_cast<char>(each);
  }
  return start;
}

std::span<const std::byte> BytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

}  // namespace

Connection::Connection(const std::string& displayName, Deadline deadline)
    : server_("X server " + displayName), deadline_(deadline) {
  const std::optional<Address> address = ParseDisplayName(displayName);
  if (!address) {
    throw Error(Reason::kBadChoice, "'" + displayName + "' is not the name of an X display");
  }
  UniqueFd socket = ConnectTo(*address, deadline);
  if (!socket && Clock::now() >= deadline) throw Lost(Reason::kTimeout, kDoesNotAnswer);
  socket_ = KeptFd(std::move(socket));
  if (!socket_.IsOurs()) throw Lost(Reason::kUnreachable, " can't be reached");
  ShakeHands(*address);
  FindExtensions();
}

// The answer begins with eight bytes, the last two of which count the words that follow.
void Connection::ShakeHands(const Address& address) {
  const Authority authority = FindAuthority(socket_.get(), address.number);
  toSend_ = {Pair('l', 11), Pair(0, static_cast<int32_t>(authority.name.size())),
             static_cast<uint32_t>(authority.data.size())};
  Append(BytesOf(authority.name));
  Append(BytesOf(authority.data));
  Flush();
  uint8_t head[8];
  ReceiveBytes(head);
  Reply answer = ReceiveRest(head, (head[6] | size_t{head[7]} << 8) * 4);
  if (head[0] != kAccepted) {
    answer.TakeBytes(sizeof head);
    const size_t reasonBytes = head[0] == kMoreAuthentication ? answer.left().size() : head[1];
    const std::string reason = PrintableStart(answer.TakeBytes(reasonBytes));
    throw Error(Reason::kRefused, server_ + " refuses the connection: " + reason);
  }
  const auto setup = answer.Take<xcb_setup_t>();
  idBase_ = setup.resource_id_base;
  idMask_ = setup.resource_id_mask;
  screen_ = ReadScreenFormat(setup, answer, address.screen);
}

void Connection::FindExtensions() {
  const Sequence randrQuery = QueryExtension("RANDR");
  const Sequence shmQuery = QueryExtension("MIT-SHM");
  randr_ = AwaitOpcode(randrQuery);
  // A connection that leaves this machine can't carry a segment's descriptor.
  shm_ = IsLocal(socket_.get()) ? AwaitOpcode(shmQuery) : 0;
  const char* const refusal = "the X server does not report its extensions' versions";
  const Sequence randr = randr_ != 0 ? Send(randr_, XCB_RANDR_QUERY_VERSION, {1, 5}) : 0;
  const Sequence shm = shm_ != 0 ? Send(shm_, XCB_SHM_QUERY_VERSION, {}) : 0;
  if (randr_ != 0) {
    const auto version = Await(randr, refusal).Take<xcb_randr_query_version_reply_t>();
    if (!IsAtLeast(version.major_version, version.minor_version, 1, 5)) randr_ = 0;
  }
  if (shm_ != 0) {
    const auto version = Await(shm, refusal).Take<xcb_shm_query_version_reply_t>();
    if (!IsAtLeast(version.major_version, version.minor_version, 1, 2)) shm_ = 0;
  }
}

Connection::Sequence Connection::QueryExtension(std::string_view name) {
  return Send(XCB_QUERY_EXTENSION, 0, {static_cast<uint32_t>(name.size())}, BytesOf(name));
}

uint8_t Connection::AwaitOpcode(Sequence query) {
  const auto extension =
      Await(query, "the X server does not name its extensions").Take<xcb_query_extension_reply_t>();
  return extension.present != 0 ? extension.major_opcode : 0;
}

void Connection::BeginCall(Deadline deadline) {
  deadline_ = deadline;
  if (!socket_.IsOurs()) {
    throw Error(Reason::kUnreachable, "this process closed the connection to " + server_);
  }
  while (WaitFor(socket_.get(), POLLIN, Clock::now())) ReceiveMessage();
}

// The server grants the bits of the mask.
uint32_t Connection::NewId() {
  lastId_ += idMask_ & (~idMask_ + 1);
  return idBase_ | (lastId_ & idMask_);
}

Connection::Sequence Connection::Send(uint8_t opcode, uint8_t data,
                                      std::initializer_list<uint32_t> words,
                                      std::span<const std::byte> bytes, int fd) {
  // A descriptor goes with the first byte that is sent with it.
  if (fd >= 0) Flush();
  const size_t allWords = 1 + words.size() + (bytes.size() + 3) / 4;
  toSend_.push_back(Pair(opcode | data << 8, static_cast<int32_t>(allWords)));
  toSend_.insert(toSend_.end(), words);
  Append(bytes);
  if (fd >= 0) Flush(fd);
  return ++sequence_;
}

// Up to a whole number of words.
void Connection::Append(std::span<const std::byte> bytes) {
  const size_t at = toSend_.size();
  toSend_.resize(at + (bytes.size() + 3) / 4);
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::byte*>(toSend_.data() + at));
}

void Connection::Flush(int fd) {
  auto left = std::as_bytes(std::span(toSend_));
  while (!left.empty()) {
    const ssize_t sent = SendSome(socket_.get(), left, fd);
    if (sent > 0) {
      left = left.subspan(static_cast<size_t>(sent));
      fd = -1;
    } else if (errno == EAGAIN) {
      if (!WaitFor(socket_.get(), POLLOUT, deadline_)) throw Lost(Reason::kTimeout, kDoesNotAnswer);
    } else if (errno != EINTR) {
      throw Lost(Reason::kUnreachable, kClosed);
    }
  }
  toSend_.clear();
}

std::optional<Reply> Connection::Await(Sequence request) {
  Flush();
  for (;;) {
    Message answer = ReceiveAnswer();
    const auto later = static_cast<int16_t>(answer.sequence - request);
    if (later > 0) throw BrokenProtocol();  // it left the request out
    if (later < 0) continue;
    if (answer.isError()) return std::nullopt;
    return std::move(answer.bytes);
  }
}

Reply Connection::Await(Sequence request, const char* refusal) {
  std::optional<Reply> reply = Await(request);
  if (!reply) throw Error(Reason::kRefused, refusal);
  return std::move(*reply);
}

// An error would come before the reply to the next request.
bool Connection::IsCarriedOut() {
  const Sequence request = sequence_;
  const Sequence next = Send(XCB_GET_INPUT_FOCUS, 0, {});
  Flush();
  bool hasFailed = false;
  for (;;) {
    const Message answer = ReceiveAnswer();
    if (answer.sequence == request && answer.isError()) hasFailed = true;
    if (answer.sequence == next) return !hasFailed;
  }
}

// Descriptors that come along are not taken, so that the system closes them.
void Connection::ReceiveBytes(std::span<uint8_t> bytes) {
  while (!bytes.empty()) {
    // A server that sends without end gets no longer than one that sends nothing.
    if (!WaitFor(socket_.get(), POLLIN, deadline_) || Clock::now() >= deadline_) {
      throw Lost(Reason::kTimeout, kDoesNotAnswer);
    }
    const ssize_t count = recv(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count > 0) {
      bytes = bytes.subspan(static_cast<size_t>(count));
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      throw Lost(Reason::kUnreachable, kClosed);
    }
  }
}

Reply Connection::ReceiveRest(std::span<const uint8_t> head, size_t bytes) {
  Reply reply(head.size() + bytes);
  std::copy(head.begin(), head.end(), reply.left().begin());
  ReceiveBytes(reply.left().subspan(head.size()));
  return reply;
}

Connection::Message Connection::ReceiveMessage() {
  uint8_t head[kMessageBytes];
  ReceiveBytes(head);
  xcb_generic_reply_t fields;
  std::memcpy(&fields, head, sizeof fields);
  const uint8_t type = fields.response_type;
  // Replies, and events of one kind, may be longer.
  const bool hasLength = type == 1 || (type & 0x7F) == XCB_GE_GENERIC;
  const size_t words = hasLength ? fields.length : 0;
  if (words > kMaxReplyBytes / 4) throw BrokenProtocol();
  return {type, fields.sequence, ReceiveRest(head, words * 4)};
}

Connection::Message Connection::ReceiveAnswer() {
  for (;;) {
    Message message = ReceiveMessage();
    if (message.isError() || message.isReply()) return message;
  }
}

}  // namespace qrv::desktop::x11
