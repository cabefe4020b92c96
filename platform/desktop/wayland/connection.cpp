#include "platform/desktop/wayland/connection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>

#include "platform/desktop/peer/socket.h"
#include "platform/desktop/wayland/protocol.h"
#include "platform/one_line.h"

namespace qrv::desktop::wayland {
namespace {

// A message is words in this machine's byte order: the object's number; the message's size in bytes
// in the high half, the number of the request or event in the low half; the arguments.
constexpr size_t kHeaderWords = 2;
constexpr size_t kReceiveWords = 4096;
constexpr uint32_t kDisplay = 1;
constexpr size_t kMaxObjects = 16384;
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

// A string is its size with the terminating zero, then the bytes, padded to whole words.
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

Connection::Connection(const std::string& path, std::string peer, Deadline deadline)
    : peer_(std::move(peer)), deadline_(deadline), received_(kReceiveWords) {
  UniqueFd socket = ConnectLocal(path, deadline);
  if (!socket && Clock::now() >= deadline) Fail(Reason::kTimeout, " does not answer");
  socket_ = KeptFd(std::move(socket));
  if (!socket_.IsOurs()) Fail(Reason::kUnreachable, " can't be reached");
  NewObject();  // 0 is no object
  NewObject([this](uint32_t event, Arguments& arguments) { HandleDisplayEvent(event, arguments); });
}

void Connection::BeginCall(Deadline deadline) {
  deadline_ = deadline;
  if (!socket_.IsOurs()) {
    throw Error(Reason::kUnreachable, "this process closed the connection to " + peer_);
  }
}

void Connection::Fail(Reason reason, const std::string& how) const {
  throw Error(reason, peer_ + how);
}

void Connection::FailProtocol(const char* message) const {
  Fail(Reason::kUnreachable, std::string(" violates the protocol: ") + message);
}

// The deadline holds for a compositor that sends, or reads, without end too.
void Connection::AwaitSocket(short events) const {
  if (!WaitFor(socket_.get(), events, deadline_) || Clock::now() >= deadline_) {
    Fail(Reason::kTimeout, " does not answer");
  }
}

uint32_t Connection::NewObject(Handler handler) {
  // The protocol demands numbers without gaps.
  if (!free_.empty()) {
    const uint32_t object = free_.back();
    free_.pop_back();
    objects_[object] = {std::move(handler)};
    return object;
  }
  if (objects_.size() == kMaxObjects) Fail(Reason::kUnreachable, " deletes no objects");
  objects_.push_back({std::move(handler)});
  return static_cast<uint32_t>(objects_.size() - 1);
}

void Connection::Destroy(uint32_t object, uint32_t request) noexcept {
  Drop(object);
  try {
    AppendHeader(object, request, 0);
  } catch (const std::exception&) {
    // There is no memory.
  }
}

void Connection::AppendHeader(uint32_t object, uint32_t request, size_t words) {
  toSend_.reserve(toSend_.size() + kHeaderWords + words);
  toSend_.push_back(object);
  toSend_.push_back(static_cast<uint32_t>((kHeaderWords + words) * 4) << 16 | request);
}

void Connection::Send(uint32_t object, uint32_t request, std::initializer_list<uint32_t> words,
                      int fd) {
  // A descriptor travels with the first byte of the message that it is sent with.
  if (fd >= 0) Flush();
  AppendHeader(object, request, words.size());
  toSend_.insert(toSend_.end(), words);
  if (fd >= 0) Flush(fd);
}

void Connection::SendBind(uint32_t registry, uint32_t name, std::string_view interface,
                          uint32_t version, uint32_t object) {
  const size_t stringBytes = interface.size() + 1;
  AppendHeader(registry, kRegistryBind, 4 + WordsOf(stringBytes));
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

// Sends the queue, then waits for events and handles them.
void Connection::Exchange() {
  Flush();
  AwaitSocket(POLLIN);
  if (!Receive()) FailClosed();
  HandleReceived();
}

void Connection::Flush(int fd) {
  const std::vector<uint32_t> words = std::exchange(toSend_, {});
  auto left = std::as_bytes(std::span(words));
  while (!left.empty()) {
    const ssize_t sent = SendSome(socket_.get(), left, fd);
    if (sent > 0) {
      left = left.subspan(static_cast<size_t>(sent));
      fd = -1;
    } else if (errno == EAGAIN) {
      AwaitSocket(POLLOUT);
    } else if (errno != EINTR) {
      // The compositor may have sent its reason before it closed the connection.
      while (Clock::now() < deadline_ && Receive()) HandleReceived();
      FailClosed();
    }
  }
}

// False at the end of the connection, and when nothing has arrived.
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
      FailProtocol("a message has an impossible size");
    }
    if (bytes > receivedBytes_ - at * 4) break;
    Arguments arguments(
        std::span<const uint32_t>(received_).subspan(at + kHeaderWords, bytes / 4 - kHeaderWords));
    // A copy of the handler, which may make objects and end its own. Events may still arrive for an
    // object that has ended.
    if (object < objects_.size()) {
      if (const Handler handler = objects_[object].handler) handler(event, arguments);
    }
    if (arguments.rejection() != nullptr) FailProtocol(arguments.rejection());
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
    if (arguments.rejection() != nullptr) return;
    Fail(Reason::kUnreachable, " closed the connection" + (message.empty() ? "" : ": " + message));
  } else if (event == kDisplayDeleteId) {
    // A number is free once its object has ended here too: some compositors delete objects early.
    const uint32_t object = arguments.TakeUint();
    if (object >= objects_.size() || objects_[object].state != State::kEnded) return;
    objects_[object].state = State::kFree;
    free_.push_back(object);
  }
}

}  // namespace qrv::desktop::wayland
