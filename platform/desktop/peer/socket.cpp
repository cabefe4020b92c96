#include "platform/desktop/peer/socket.h"

#include <poll.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <thread>

namespace qrv::desktop {
namespace {

constexpr std::chrono::milliseconds kRetryInterval{10};

}  // namespace

// A Unix socket whose queue of connections is full reports EAGAIN, and poll does not say when there
// is room again.
bool ConnectWithin(int fd, const sockaddr* address, socklen_t length, Deadline deadline) {
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

UniqueFd ConnectLocal(const std::string& path, Deadline deadline) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (path.empty() || path.size() >= sizeof address.sun_path) return {};
  std::copy(path.begin(), path.end(), address.sun_path);
  const bool isAbstract = path.front() == '\0';
  const size_t length = offsetof(sockaddr_un, sun_path) + path.size() + (isAbstract ? 0 : 1);
  UniqueFd fd = AboveStandardStreams(UniqueFd(socket(AF_UNIX, kSocketFlags, 0)));
  if (!fd || !ConnectWithin(fd.get(), reinterpret_cast<const sockaddr*>(&address),
                            static_cast<socklen_t>(length), deadline)) {
    return {};
  }
  return fd;
}

ssize_t SendSome(int socket, std::span<const std::byte> bytes, int fd) {
  iovec piece = {const_cast<std::byte*>(bytes.data()), bytes.size()};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof fd)] = {};
  msghdr message = {};
  message.msg_iov = &piece;
  message.msg_iovlen = 1;
  if (fd >= 0) {
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    rights->cmsg_level = SOL_SOCKET;
    rights->cmsg_type = SCM_RIGHTS;
    rights->cmsg_len = CMSG_LEN(sizeof fd);
    std::memcpy(CMSG_DATA(rights), &fd, sizeof fd);
  }
  return sendmsg(socket, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
}

}  // namespace qrv::desktop
