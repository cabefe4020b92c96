#include "platform/desktop/x11_connection.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/desktop/x11_watchdog.h"

namespace qrv::desktop {
namespace {

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

// Hands xcb a socket, which is its own from then on.
xcb_connection_t* ConnectXcb(UniqueFd socket, const Authority& authority) {
  Authority copy = authority;
  xcb_auth_info_t info = {static_cast<int>(copy.name.size()), copy.name.data(),
                          static_cast<int>(copy.data.size()), copy.data.data()};
  return xcb_connect_to_fd(socket.Release(), copy.name.empty() ? nullptr : &info);
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
  // The greeted socket stays open until xcb's is connected: some servers start afresh, with an
  // empty screen, when their last client leaves.
  const UniqueFd greeted = ConnectSocket(name, greetBy);
  if (!greeted) {
    timedOut = Clock::now() >= greetBy;
    problem = server + (timedOut ? " does not answer" : " can't be reached");
    return nullptr;
  }
  const Authority authority = FindAuthority(greeted.get(), name);
  std::string reason;
  const Greeting greeting = Greet(greeted.get(), authority, greetBy, reason);
  if (greeting == Greeting::kRefused) {
    problem = server + " refuses the connection: " + reason;
    return nullptr;
  }
  std::unique_ptr<Connection> connection(new Connection);
  if (greeting == Greeting::kNoAnswer ||
      !connection->SetUp(ConnectSocket(name, deadline), authority, name.screen, deadline,
                         problem)) {
    timedOut = Clock::now() >= (greeting == Greeting::kNoAnswer ? greetBy : deadline);
    if (problem.empty()) problem = server + (timedOut ? " does not answer" : " can't be reached");
    return nullptr;
  }
  return connection;
}

bool Connection::SetUp(UniqueFd socket, const Authority& authority, int screenNumber,
                       Deadline deadline, std::string& problem) {
  process_ = getpid();
  deadline_ = deadline;
  socket_ = UniqueFd(fcntl(socket.get(), F_DUPFD_CLOEXEC, 0));
  if (!socket_) return false;
  Watchdog watchdog(socket_.get(), deadline);
  xcb_ = ConnectXcb(std::move(socket), authority);
  if (xcb_connection_has_error(xcb_)) return false;
  if (!FindScreen(screenNumber)) {
    problem = "the X server has no screen " + std::to_string(screenNumber);
    return false;
  }
  if (!FindPixelFormat(xcb_get_setup(xcb_), *screen_, format_)) {
    problem = "the X server's pixel format is not supported";
    return false;
  }
  FindExtensions();
  return !watchdog.HasBitten() && !isLost();
}

Connection::~Connection() {
  if (!xcb_) return;
  if (isInherited()) {
    // xcb_disconnect shuts the socket down, which is still the parent's. It gets another file.
    const UniqueFd nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing || dup2(nothing.get(), xcb_get_file_descriptor(xcb_)) < 0) return;
  }
  xcb_disconnect(xcb_);
}

bool Connection::FindScreen(int number) {
  auto screen = xcb_setup_roots_iterator(xcb_get_setup(xcb_));
  for (; screen.rem > 0 && number > 0; --number) xcb_screen_next(&screen);
  if (screen.rem == 0) return false;
  screen_ = screen.data;
  return true;
}

void Connection::FindExtensions() {
  xcb_prefetch_extension_data(xcb_, &xcb_randr_id);
  xcb_prefetch_extension_data(xcb_, &xcb_shm_id);
  const auto isPresent = [this](xcb_extension_t& extension) {
    const xcb_query_extension_reply_t* const reply = xcb_get_extension_data(xcb_, &extension);
    return reply && reply->present != 0;
  };
  std::optional<xcb_randr_query_version_cookie_t> randr;
  std::optional<xcb_shm_query_version_cookie_t> shm;
  if (isPresent(xcb_randr_id)) randr = xcb_randr_query_version(xcb_, 1, 5);
  // A connection that leaves this machine can't carry a segment's descriptor.
  if (isPresent(xcb_shm_id) && IsLocal(socket_.get())) shm = xcb_shm_query_version(xcb_);
  if (randr) {
    const auto version = AwaitShort<xcb_randr_query_version_reply_t>(randr->sequence);
    hasMonitors_ = version && IsAtLeast(version->major_version, version->minor_version, 1, 5);
  }
  if (shm) {
    const auto version = AwaitShort<xcb_shm_query_version_reply_t>(shm->sequence);
    hasSegments_ = version && IsAtLeast(version->major_version, version->minor_version, 1, 2);
  }
}

void Connection::BeginWaiting() {
  deadline_ = Clock::now() + kPatience;
  while (xcb_generic_event_t* event = xcb_poll_for_event(xcb_)) std::free(event);
}

bool Connection::isInherited() const { return getpid() != process_; }

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
