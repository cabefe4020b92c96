#include "platform/desktop/x11/connection.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/desktop/signals.h"

namespace qrv::desktop {
namespace {

// xcb waits without limit while it reads a reply of more than one packet. The watchdog ends such a
// wait.
//
// A thread that shuts the socket down at the deadline, unless the watchdog is destroyed before:
// whoever waits for the socket then sees the connection end. The thread runs none of the process's
// signal handlers. The constructor throws std::system_error when there is no thread to be had.
class Watchdog {
 public:
  // `socket` must stay open, and stay the same socket, while the watchdog lives: a duplicate of
  // xcb's descriptor, which xcb may close at any time.
  Watchdog(int socket, Deadline deadline);
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog();

  // Whether the deadline has passed and the socket been shut down.
  bool HasBitten();

 private:
  void Watch(int socket, Deadline deadline);

  std::mutex mutex_;
  std::condition_variable change_;
  bool calledOff_ = false;
  bool bitten_ = false;
  std::thread thread_;
};

Watchdog::Watchdog(int socket, Deadline deadline) {
  const AllSignalsBlocked blocked;
  thread_ = std::thread([this, socket, deadline] { Watch(socket, deadline); });
}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    calledOff_ = true;
  }
  change_.notify_one();
  thread_.join();
}

bool Watchdog::HasBitten() {
  const std::lock_guard lock(mutex_);
  return bitten_;
}

void Watchdog::Watch(int socket, Deadline deadline) {
  std::unique_lock lock(mutex_);
  if (change_.wait_until(lock, deadline, [this] { return calledOff_; })) return;
  bitten_ = true;
  shutdown(socket, SHUT_RDWR);
}

bool IsLocal(int socket) {
  sockaddr_storage address = {};
  socklen_t length = sizeof address;
  return getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
         address.ss_family == AF_UNIX;
}

bool IsAtLeast(uint32_t major, uint32_t minor, uint32_t wantedMajor, uint32_t wantedMinor) {
  return major > wantedMajor || (major == wantedMajor && minor >= wantedMinor);
}

// How long a long reply may take to arrive whole before a watchdog is set on it, which takes longer
// to start than most replies take to come.
constexpr std::chrono::milliseconds kGrace{20};

// Whether the next packet in the socket is the reply or the error to that request, and has come
// whole. Then xcb need not wait for the rest of it, nor for what follows: the other packets that
// this connection has are of 32 bytes, which xcb takes whole or leaves.
bool HasWholeReply(int socket, unsigned sequence) {
  constexpr size_t kHeaderBytes = 32;
  constexpr uint8_t kError = 0;
  constexpr uint8_t kReply = 1;
  union {
    xcb_generic_reply_t header;
    uint8_t bytes[kHeaderBytes];
  } packet;
  const xcb_generic_reply_t& header = packet.header;
  int available = 0;
  if (recv(socket, &packet, kHeaderBytes, MSG_PEEK | MSG_DONTWAIT) != kHeaderBytes ||
      header.sequence != static_cast<uint16_t>(sequence) ||
      ioctl(socket, FIONREAD, &available) < 0) {
    return false;
  }
  if (header.response_type == kError) return true;
  return header.response_type == kReply &&
         static_cast<uint64_t>(available) >= kHeaderBytes + uint64_t{4} * header.length;
}

// Gives xcb, at the other end of a pair of sockets, the server's answer to its greeting, once it
// has greeted: xcb takes what comes before for something else.
//
// The thread allocates nothing: the first time that one does, malloc makes it a heap of its own,
// which takes as long as all of this.
class Answerer {
 public:
  // Throws std::system_error when there is no thread to be had.
  Answerer(int end, const std::string& answer, Deadline deadline)
      : end_(end), answer_(answer), deadline_(deadline) {
    const AllSignalsBlocked blocked;
    const int error = pthread_create(&thread_, nullptr, Run, this);
    if (error != 0) throw std::system_error(error, std::generic_category());
  }
  Answerer(const Answerer&) = delete;
  Answerer& operator=(const Answerer&) = delete;
  ~Answerer() { pthread_join(thread_, nullptr); }

 private:
  static void* Run(void* answerer) {
    static_cast<const Answerer*>(answerer)->Answer();
    return nullptr;
  }

  void Answer() const {
    const bool isGreeted = WaitFor(end_, POLLIN, deadline_);
    if (!isGreeted || send(end_, answer_.data(), answer_.size(), MSG_DONTWAIT | MSG_NOSIGNAL) !=
                          static_cast<ssize_t>(answer_.size())) {
      shutdown(end_, SHUT_RDWR);
    }
  }

  int end_;
  const std::string& answer_;
  Deadline deadline_;
  pthread_t thread_ = {};
};

// A connection of xcb's over a socket on which the server has given that answer already: xcb is set
// up at one end of a pair of sockets, and then that end is replaced. So the server has one client
// for all of it. Null when there is no descriptor or memory.
xcb_connection_t* ConnectXcb(int socket, const std::string& answer, Deadline deadline) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
  UniqueFd xcbEnd = AboveStandardStreams(UniqueFd(ends[0]));
  const UniqueFd serverEnd(ends[1]);
  if (!xcbEnd) return nullptr;
  const int number = xcbEnd.get();
  const Answerer answerer(serverEnd.get(), answer, deadline);
  xcb_connection_t* const xcb = xcb_connect_to_fd(xcbEnd.Release(), nullptr);
  if (xcb_connection_has_error(xcb) == 0 && dup3(socket, number, O_CLOEXEC) == number) return xcb;
  xcb_disconnect(xcb);
  return nullptr;
}

}  // namespace

std::unique_ptr<Connection> Connection::Open(const std::string& displayName, Deadline greetBy,
                                             std::string& problem, bool& timedOut) {
  const Deadline deadline = Clock::now() + kPatience;
  const std::string server = "X server " + displayName;
  ServerName name;
  if (!ParseServerName(displayName, name)) {
    problem = "'" + displayName + "' is not the name of an X display";
    return nullptr;
  }
  UniqueFd socket = ConnectSocket(name, greetBy);
  if (!socket) {
    timedOut = Clock::now() >= greetBy;
    problem = server + (timedOut ? " does not answer" : " can't be reached");
    return nullptr;
  }
  std::string answer;
  const Greeting greeting = Greet(socket.get(), FindAuthority(socket.get(), name), greetBy, answer);
  if (greeting == Greeting::kRefused) {
    problem = server + " refuses the connection: " + answer;
    return nullptr;
  }
  std::unique_ptr<Connection> connection(new Connection);
  if (greeting == Greeting::kNoAnswer ||
      !connection->SetUp(std::move(socket), answer, name.screen, deadline, problem)) {
    timedOut = Clock::now() >= (greeting == Greeting::kNoAnswer ? greetBy : deadline);
    if (problem.empty()) problem = server + (timedOut ? " does not answer" : " can't be reached");
    return nullptr;
  }
  return connection;
}

bool Connection::SetUp(UniqueFd socket, const std::string& answer, int screenNumber,
                       Deadline deadline, std::string& problem) {
  deadline_ = deadline;
  socket_ = KeptFd(std::move(socket));
  xcb_ = ConnectXcb(socket_.get(), answer, deadline);
  if (xcb_ == nullptr) {
    problem = "there is no descriptor or memory for a connection to the X server";
    return false;
  }
  if (!FindScreen(screenNumber)) {
    problem = "the X server has no screen " + std::to_string(screenNumber);
    return false;
  }
  if (!FindScreenFormat(xcb_get_setup(xcb_), *screen_, format_)) {
    problem = "the X server's pixel format is not supported";
    return false;
  }
  return FindExtensions() && !isLost();
}

// What xcb holds goes with it, unless its descriptor's number is another file's by now: xcb would
// close that. Its memory stays then, a few dozen kilobytes.
Connection::~Connection() {
  if (xcb_ == nullptr) return;
  const int number = xcb_get_file_descriptor(xcb_);
  if (socket_.IsSameFile(number) || fcntl(number, F_GETFD) < 0) {
    xcb_disconnect(xcb_);
    return;
  }
  // Within reach, so that nobody who looks for leaks takes it for one.
  static std::array<xcb_connection_t*, 16> abandoned;
  static size_t count = 0;
  abandoned[count++ % abandoned.size()] = xcb_;
}

// xcb_disconnect shuts the socket down, which is still the parent's. It gets another file.
void Connection::LeaveOpen() {
  const int number = xcb_get_file_descriptor(xcb_);
  if (!socket_.IsSameFile(number)) return;
  const UniqueFd nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
  if (!nothing || dup2(nothing.get(), number) < 0) xcb_ = nullptr;
  if (xcb_ != nullptr) xcb_disconnect(std::exchange(xcb_, nullptr));
}

bool Connection::FindScreen(int number) {
  auto screen = xcb_setup_roots_iterator(xcb_get_setup(xcb_));
  for (; screen.rem > 0 && number > 0; --number) xcb_screen_next(&screen);
  if (screen.rem == 0) return false;
  screen_ = screen.data;
  return true;
}

// False when the server does not tell: a screen without its monitors would be another one.
bool Connection::FindExtensions() {
  xcb_prefetch_extension_data(xcb_, &xcb_randr_id);
  xcb_prefetch_extension_data(xcb_, &xcb_shm_id);
  // xcb waits for those without limit, but no longer once a later reply is there.
  const auto later = AwaitShort<xcb_get_input_focus_reply_t>(xcb_get_input_focus(xcb_).sequence);
  if (!later && isLost()) return false;
  const xcb_query_extension_reply_t* const randr = xcb_get_extension_data(xcb_, &xcb_randr_id);
  const xcb_query_extension_reply_t* const shm = xcb_get_extension_data(xcb_, &xcb_shm_id);
  if (randr == nullptr || shm == nullptr) return false;
  std::optional<xcb_randr_query_version_cookie_t> randrCookie;
  std::optional<xcb_shm_query_version_cookie_t> shmCookie;
  if (randr->present) randrCookie = xcb_randr_query_version(xcb_, 1, 5);
  // A connection that leaves this machine can't carry a segment's descriptor.
  if (shm->present && IsLocal(socket_.get())) shmCookie = xcb_shm_query_version(xcb_);
  if (randrCookie) {
    const auto version = AwaitShort<xcb_randr_query_version_reply_t>(randrCookie->sequence);
    if (!version) return false;
    hasMonitors_ = IsAtLeast(version->major_version, version->minor_version, 1, 5);
  }
  if (shmCookie) {
    const auto version = AwaitShort<xcb_shm_query_version_reply_t>(shmCookie->sequence);
    if (!version) return false;
    hasSegments_ = IsAtLeast(version->major_version, version->minor_version, 1, 2);
  }
  return true;
}

void Connection::BeginWaiting() {
  deadline_ = Clock::now() + kPatience;
  const int number = xcb_get_file_descriptor(xcb_);
  isForeign_ = !socket_.IsOurs() || !socket_.IsSameFile(number);
  if (isForeign_) return;
  // A process may have made all of its descriptors wait.
  const int flags = fcntl(number, F_GETFL);
  if ((flags & O_NONBLOCK) == 0) fcntl(number, F_SETFL, flags | O_NONBLOCK);
  while (xcb_generic_event_t* event = xcb_poll_for_event(xcb_)) std::free(event);
}

void* Connection::AwaitShortReply(unsigned sequence) {
  if (timedOut_) return nullptr;
  xcb_flush(xcb_);
  for (;;) {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(xcb_, sequence, &reply, &error) != 0) {
      std::free(error);
      return reply;
    }
    // xcb gives up, without a word and with the socket open, when it has no memory for what it
    // reads.
    if (xcb_connection_has_error(xcb_)) return nullptr;
    if (!WaitFor(xcb_get_file_descriptor(xcb_), POLLIN, deadline_)) {
      timedOut_ = true;
      return nullptr;
    }
  }
}

void* Connection::AwaitLongReply(unsigned sequence) {
  if (timedOut_) return nullptr;
  xcb_flush(xcb_);
  if (WaitFor(socket_.get(), POLLIN, std::min(deadline_, Clock::now() + kGrace)) &&
      HasWholeReply(socket_.get(), sequence)) {
    return AwaitShortReply(sequence);
  }
  Watchdog watchdog(socket_.get(), deadline_);
  xcb_generic_error_t* error = nullptr;
  void* const reply = xcb_wait_for_reply(xcb_, sequence, &error);
  std::free(error);
  timedOut_ = watchdog.HasBitten();
  if (!timedOut_) return reply;
  std::free(reply);
  return nullptr;
}

}  // namespace qrv::desktop
