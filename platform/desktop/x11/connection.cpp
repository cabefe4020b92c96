#include "platform/desktop/x11/connection.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/randr.h>
#include <xcb/shm.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/desktop/peer/socket.h"
#include "platform/desktop/x11/authority.h"
#include "platform/one_line.h"

namespace qrv::desktop::x11 {
namespace {

// Bounds what a server can make this process allocate. The largest replies to the requests that are
// sent are half as long.
constexpr size_t kMaxReplyBytes = size_t{1} << 20;
constexpr size_t kMessageBytes = 32;

constexpr uint8_t kAccepted = 1;
constexpr uint8_t kMoreAuthentication = 2;

bool IsLocal(int socket) {
  sockaddr_storage address = {};
  socklen_t length = sizeof address;
  return getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
         address.ss_family == AF_UNIX;
}

bool IsAtLeast(uint32_t major, uint32_t minor, uint32_t wantedMajor, uint32_t wantedMinor) {
  return major > wantedMajor || (major == wantedMajor && minor >= wantedMinor);
}

std::span<const std::byte> BytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

}  // namespace

Connection::Connection(const Address& address, std::string peer, Deadline deadline)
    : peer_(std::move(peer)), deadline_(deadline) {
  UniqueFd socket = ConnectTo(address, deadline);
  if (!socket && Clock::now() >= deadline) Fail(Reason::kTimeout, " does not answer");
  socket_ = KeptFd(std::move(socket));
  if (!socket_.IsOurs()) Fail(Reason::kUnreachable, " can't be reached");
  Handshake(address);
  FindExtensions();
}

// The answer begins with eight bytes, the last two of which count the words that follow.
void Connection::Handshake(const Address& address) {
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
    const size_t bytes = head[0] == kMoreAuthentication ? answer.left().size() : head[1];
    const std::string_view reason = answer.TakeText(bytes);
    constexpr std::string_view kEnds("\n\0", 2);
    Fail(Reason::kRefused,
         " refuses the connection: " + InOneLine(reason.substr(0, reason.find_first_of(kEnds))));
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
  const char* const error = "the X server does not report its extensions' versions";
  const Sequence randr = randr_ != 0 ? Send(randr_, XCB_RANDR_QUERY_VERSION, {1, 5}) : 0;
  const Sequence shm = shm_ != 0 ? Send(shm_, XCB_SHM_QUERY_VERSION, {}) : 0;
  if (randr_ != 0) {
    const auto version = Await(randr, error).Take<xcb_randr_query_version_reply_t>();
    if (!IsAtLeast(version.major_version, version.minor_version, 1, 5)) randr_ = 0;
  }
  if (shm_ != 0) {
    const auto version = Await(shm, error).Take<xcb_shm_query_version_reply_t>();
    if (!IsAtLeast(version.major_version, version.minor_version, 1, 2)) shm_ = 0;
  }
}

Connection::Sequence Connection::QueryExtension(std::string_view name) {
  return Send(XCB_QUERY_EXTENSION, 0, {static_cast<uint32_t>(name.size())}, BytesOf(name));
}

uint8_t Connection::AwaitOpcode(Sequence query) {
  const auto extension =
      Await(query, "the X server does not list its extensions").Take<xcb_query_extension_reply_t>();
  return extension.present != 0 ? extension.major_opcode : 0;
}

void Connection::BeginCall(Deadline deadline) {
  deadline_ = deadline;
  if (!socket_.IsOurs()) {
    throw Error(Reason::kUnreachable, "this process closed the connection to " + peer_);
  }
  while (WaitFor(socket_.get(), POLLIN, Clock::now())) ReceiveMessage();
}

void Connection::Fail(Reason reason, const std::string& how) const {
  throw Error(reason, peer_ + how);
}

// The deadline holds for a server that sends, or reads, without end too.
void Connection::AwaitSocket(short events) const {
  if (!WaitFor(socket_.get(), events, deadline_) || Clock::now() >= deadline_) {
    Fail(Reason::kTimeout, " does not answer");
  }
}

// Only the bits of the mask are the client's.
uint32_t Connection::NewId() {
  lastId_ += idMask_ & (~idMask_ + 1);
  return idBase_ | (lastId_ & idMask_);
}

Connection::Sequence Connection::Send(uint8_t opcode, uint8_t data,
                                      std::initializer_list<uint32_t> words,
                                      std::span<const std::byte> bytes, int fd) {
  // A descriptor travels with the first byte of the message that it is sent with.
  if (fd >= 0) Flush();
  const size_t allWords = 1 + words.size() + (bytes.size() + 3) / 4;
  toSend_.push_back(Pair(opcode | data << 8, static_cast<int32_t>(allWords)));
  toSend_.insert(toSend_.end(), words);
  Append(bytes);
  if (fd >= 0) Flush(fd);
  return ++sequence_;
}

// Pads to a whole number of words.
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
      AwaitSocket(POLLOUT);
    } else if (errno != EINTR) {
      FailClosed();
    }
  }
  toSend_.clear();
}

std::optional<Reply> Connection::Await(Sequence request) {
  Flush();
  for (;;) {
    Message answer = ReceiveAnswer();
    const auto later = static_cast<int16_t>(answer.sequence - request);
    if (later > 0) throw ProtocolError();  // the request was not answered
    if (later < 0) continue;
    if (answer.IsError()) return std::nullopt;
    return std::move(answer.bytes);
  }
}

Reply Connection::Await(Sequence request, const char* errorMessage) {
  std::optional<Reply> reply = Await(request);
  if (!reply) throw Error(Reason::kRefused, errorMessage);
  return std::move(*reply);
}

// An error comes before the reply to the next request.
bool Connection::AwaitSuccess() {
  const Sequence request = sequence_;
  const Sequence next = Send(XCB_GET_INPUT_FOCUS, 0, {});
  Flush();
  bool hasFailed = false;
  for (;;) {
    const Message answer = ReceiveAnswer();
    if (answer.sequence == request && answer.IsError()) hasFailed = true;
    if (answer.sequence == next) return !hasFailed;
  }
}

// Does not receive descriptors: the system closes those that the server sends.
void Connection::ReceiveBytes(std::span<uint8_t> bytes) {
  while (!bytes.empty()) {
    AwaitSocket(POLLIN);
    const ssize_t count = recv(socket_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count > 0) {
      bytes = bytes.subspan(static_cast<size_t>(count));
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      FailClosed();
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
  if (words > kMaxReplyBytes / 4) throw ProtocolError();
  return {type, fields.sequence, ReceiveRest(head, words * 4)};
}

Connection::Message Connection::ReceiveAnswer() {
  for (;;) {
    Message message = ReceiveMessage();
    if (message.IsError() || message.IsReply()) return message;
  }
}

}  // namespace qrv::desktop::x11
