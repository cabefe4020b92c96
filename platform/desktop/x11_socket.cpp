#include "platform/desktop/x11_socket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <thread>

namespace qrv::desktop {
namespace {

constexpr int kSocketFlags = SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC;
constexpr int kFirstPort = 6000;
constexpr char kSocketFolder[] = "/tmp/.X11-unix/X";
constexpr std::chrono::milliseconds kRetryInterval{10};

struct FreeAddresses {
  void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};

// Connects a non-blocking socket. A Unix socket whose queue is full says EAGAIN, and nothing tells
// when there is room again.
bool Connect(int fd, const sockaddr* address, socklen_t length, Deadline deadline) {
  while (connect(fd, address, length) != 0) {
    if (errno == EINPROGRESS) {
      int failure = 0;
      socklen_t size = sizeof failure;
      return WaitFor(fd, POLLOUT, deadline) &&
             getsockopt(fd, SOL_SOCKET, SO_ERROR, &failure, &size) == 0 && failure == 0;
    }
    if (errno != EAGAIN && errno != EINTR) return false;
    if (Clock::now() >= deadline) return false;
    std::this_thread::sleep_until(std::min(Clock::now() + kRetryInterval, deadline));
  }
  return true;
}

// `path` starts with a zero byte for an abstract socket.
UniqueFd ConnectLocal(const std::string& path, Deadline deadline) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {};
  std::copy(path.begin(), path.end(), address.sun_path);
  const bool isAbstract = path.front() == '\0';
  const size_t length = offsetof(sockaddr_un, sun_path) + path.size() + (isAbstract ? 0 : 1);
  UniqueFd fd(socket(AF_UNIX, kSocketFlags, 0));
  if (!fd || !Connect(fd.get(), reinterpret_cast<const sockaddr*>(&address),
                      static_cast<socklen_t>(length), deadline)) {
    return {};
  }
  return fd;
}

UniqueFd ConnectRemote(const std::string& host, int port, Deadline deadline) {
  addrinfo wanted = {};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_STREAM;
  wanted.ai_flags = AI_ADDRCONFIG | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wanted, &found) != 0) return {};
  const std::unique_ptr<addrinfo, FreeAddresses> addresses(found);
  for (const addrinfo* each = found; each; each = each->ai_next) {
    UniqueFd fd(socket(each->ai_family, kSocketFlags, 0));
    if (!fd || !Connect(fd.get(), each->ai_addr, each->ai_addrlen, deadline)) continue;
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
  }
  return {};
}

}  // namespace

bool WaitFor(int fd, short events, Deadline deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    pollfd request = {fd, events, 0};
    const int ready = poll(&request, 1, static_cast<int>(std::max<int64_t>(left, 0)));
    if (ready > 0) return true;
    if (ready == 0 && left <= 0) return false;
    if (ready < 0 && errno != EINTR && errno != EAGAIN) return false;
  }
}

bool ParseServerName(const std::string& displayName, ServerName& name) {
  char* host = nullptr;
  if (xcb_parse_display(displayName.c_str(), &host, &name.number, &name.screen) == 0) return false;
  const std::unique_ptr<char, decltype(&std::free)> hostOwner(host, &std::free);
  name.host = host;
  return true;
}

UniqueFd ConnectSocket(const ServerName& name, Deadline deadline) {
  if (name.host.starts_with('/')) return ConnectLocal(name.host, deadline);
  if (!name.host.empty() && name.host != "unix") {
    return ConnectRemote(name.host, kFirstPort + name.number, deadline);
  }
  const std::string path = kSocketFolder + std::to_string(name.number);
  if (UniqueFd fd = ConnectLocal('\0' + path, deadline)) return fd;
  return ConnectLocal(path, deadline);
}

}  // namespace qrv::desktop
