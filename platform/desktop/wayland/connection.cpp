#include "platform/desktop/wayland/connection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/one_line.h"
#include "platform/desktop/peer/socket.h"
#include "platform/desktop/wayland/protocol.h"

namespace qrv::desktop::wayland {
namespace {

// A message is the object's number, then its size in bytes above the number of the request or
// event, then the arguments; all in words of this machine's byte order.
constexpr size_t kHeaderWords = 2;
constexpr size_t kReceiveWords = 4096;
constexpr uint32_t kDisplay = 1;
constexpr size_t kMaxObjects = 16384;
constexpr char kBreaks[] = " breaks the protocol: ";
constexpr char kTooShort[] = "a message is too short";

size_t WordsOf(size_t bytes) { return bytes / 4 + (bytes % 4 != 0 ? 1 : 0); }

}  // namespace

uint32_t Arguments::TakeUint() {
  if (words_.empty()) {
    Reject(kTooShort);
    return 0;
  }
  const uint32_t word = words_.front();
  words_ = words_.subspan(1);
  return word;
}

// Its size with the zero at the end, then the bytes, filled up to whole words.
std::string Arguments::TakeString() {
  const size_t bytes = TakeUint();
  if (bytes == 0) return {};
  if (WordsOf(bytes) > words_.size()) {
    Reject(kTooShort);
    return {};
  }
  std::string text(reinterpret_cast<const char*>(words_.data()), bytes - 1);
  words_ = words_.subspan(WordsOf(bytes));
  return text;
}

std::unique_ptr<Connection> Connection::Open(const std::string& path, std::string peer,
                                             Deadline deadline) {
  UniqueFd socket = ConnectLocal(path, deadline);
  if (!socket) {
    if (Clock::now() >= deadline) throw Error(Reason::kTimeout, peer + " does not answer");
    throw Error(Reason::kUnreachable, peer + " can't be reached");
  }
  std::unique_ptr<Connection> connection(new Connection(std::move(socket), std::move(peer)));
  connection->BeginCall(deadline);
  return connection;
}

Connection::Connection(UniqueFd socket, std::string peer)
    : socket_(std::move(socket)), peer_(std::move(peer)), received_(kReceiveWords) {
  NewObject();  // 0 is no object
  NewObject([this](uint32_t event, Arguments& arguments) { HandleDisplayEvent(event, arguments); });
}

void Connection::BeginCall(Deadline deadline) {
  deadline_ = deadline;
  if (!socket_.IsOurs()) FailByEnd();
}

void Connection::Fail(const std::string& how) const {
  throw Error(Reason::kUnreachable, peer_ + how);
}

// The time may also be over because the compositor sends, or reads, without end.
void Connection::AwaitSocket(short events) const {
  if (!WaitFor(socket_.get(), events, deadline_) || Clock::now() >= deadline_) {
    throw Error(Reason::kTimeout, peer_ + " does not answer");
  }
}

uint32_t Connection::NewObject(Handler handler) {
  // The compositor wants numbers without gaps.
  if (!free_.empty()) {
    const uint32_t object = free_.back();
    free_.pop_back();
    objects_[object] = {std::move(handler)};
    return object;
  }
  if (objects_.size() == kMaxObjects) Fail(" deletes no objects");
  objects_.push_back({std::move(handler)});
  return static_cast<uint32_t>(objects_.size() - 1);
}

void Connection::Destroy(uint32_t object, uint32_t request) noexcept {
  Drop(object);
  try {
    Begin(object, request, 0);
  } catch (const std::exception&) {
    // There is no memory.
  }
}

void Connection::Begin(uint32_t object, uint32_t request, size_t words) {
  toSend_.reserve(toSend_.size() + kHeaderWords + words);
  toSend_.push_back(object);
  toSend_.push_back(static_cast<uint32_t>((kHeaderWords + words) * 4) << 16 | request);
}

void Connection::Send(uint32_t object, uint32_t request, std::initializer_list<uint32_t> words,
                      int fd) {
  // A descriptor goes with the first byte that is sent with it.
  if (fd >= 0) Flush();
  Begin(object, request, words.size());
  toSend_.insert(toSend_.end(), words);
  if (fd < 0) return;
  iovec bytes = {toSend_.data(), toSend_.size() * 4};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof fd)] = {};
  msghdr message = {};
  message.msg_iov = &bytes;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* const rights = CMSG_FIRSTHDR(&message);
  rights->cmsg_level = SOL_SOCKET;
  rights->cmsg_type = SCM_RIGHTS;
  rights->cmsg_len = CMSG_LEN(sizeof fd);
  std::memcpy(CMSG_DATA(rights), &fd, sizeof fd);
  // The queue was empty: so small a message goes in one piece.
  const ssize_t sent = sendmsg(socket_.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
  toSend_.clear();
  if (sent != static_cast<ssize_t>(bytes.iov_len)) FailByEnd();
}

void Connection::SendBind(uint32_t registry, uint32_t name, std::string_view interface,
                          uint32_t version, uint32_t object) {
  const size_t stringBytes = interface.size() + 1;
  Begin(registry, kRegistryBind, 4 + WordsOf(stringBytes));
  toSend_.push_back(name);
  toSend_.push_back(static_cast<uint32_t>(stringBytes));
  const size_t at = toSend_.size();
  toSend_.resize(at + WordsOf(stringBytes));
  std::memcpy(&toSend_[at], interface.data(), interface.size());
  toSend_.push_back(version);
  toSend_.push_back(object);
}

void Connection::AwaitRoundTrip() {
  const auto isDone = std::make_shared<bool>(false);
  const uint32_t callback = NewObject();
  objects_[callback].handler = [this, callback, isDone](uint32_t, Arguments&) {
    *isDone = true;
    Drop(callback);
  };
  Send(kDisplay, kDisplaySync, {callback});
  Await([&] { return *isDone; });
}

// Sends what there is to send, and handles what comes first.
void Connection::Exchange() {
  Flush();
  AwaitSocket(POLLIN);
  if (!Receive()) FailByEnd();
  HandleReceived();
}

void Connection::Flush() {
  const std::vector<uint32_t> words = std::exchange(toSend_, {});
  const auto* bytes = reinterpret_cast<const char*>(words.data());
  size_t left = words.size() * 4;
  while (left > 0) {
    const ssize_t sent = send(socket_.get(), bytes, left, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent > 0) {
      bytes += sent;
      left -= static_cast<size_t>(sent);
    } else if (errno == EAGAIN) {
      AwaitSocket(POLLOUT);
    } else if (errno != EINTR) {
      // What it said before it closed the connection may say why.
      while (Clock::now() < deadline_ && Receive()) HandleReceived();
      FailByEnd();
    }
  }
}

// False at the end of the connection, and when nothing is there.
bool Connection::Receive() {
  auto* const bytes = reinterpret_cast<char*>(received_.data());
  for (;;) {
    const ssize_t count = recv(socket_.get(), bytes + receivedBytes_,
                               received_.size() * 4 - receivedBytes_, MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    receivedBytes_ += static_cast<size_t>(count);
    return true;
  }
}

void Connection::HandleReceived() {
  size_t at = 0;
  while (receivedBytes_ / 4 - at >= kHeaderWords) {
    const uint32_t object = received_[at];
    const size_t bytes = received_[at + 1] >> 16;
    const uint32_t event = received_[at + 1] & 0xFFFF;
    if (bytes < kHeaderWords * 4 || bytes % 4 != 0 || bytes > received_.size() * 4) {
      Fail(kBreaks + std::string("a message has an impossible size"));
    }
    if (bytes > receivedBytes_ - at * 4) break;
    Arguments arguments(
        std::span<const uint32_t>(received_).subspan(at + kHeaderWords, bytes / 4 - kHeaderWords));
    // A copy, for it may make objects and end its own. Events of objects that are no more cross
    // with their end.
    if (object < objects_.size()) {
      if (const Handler handler = objects_[object].handler) handler(event, arguments);
    }
    if (arguments.whyRejected() != nullptr) Fail(std::string(kBreaks) + arguments.whyRejected());
    at += bytes / 4;
  }
  receivedBytes_ -= at * 4;
  std::memmove(received_.data(), &received_[at], receivedBytes_);
}

void Connection::HandleDisplayEvent(uint32_t event, Arguments& arguments) {
  if (event == kDisplayError) {
    arguments.TakeUint();  // the object
    arguments.TakeUint();  // the code
    const std::string message = InOneLine(arguments.TakeString());
    if (arguments.whyRejected() != nullptr) return;
    Fail(" closed the connection" + (message.empty() ? "" : ": " + message));
  } else if (event == kDisplayDeleteId) {
    // A number is free once its object has ended here; some compositors delete objects before.
    const uint32_t object = arguments.TakeUint();
    if (object >= objects_.size() || objects_[object].state != State::kEnded) return;
    objects_[object].state = State::kFree;
    free_.push_back(object);
  }
}

}  // namespace qrv::desktop::wayland
