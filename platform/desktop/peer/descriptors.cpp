#include "platform/desktop/peer/descriptors.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace qrv::desktop {

UniqueFd AboveStandardStreams(UniqueFd fd) {
  if (!fd || fd.get() > STDERR_FILENO) return fd;
  return UniqueFd(fcntl(fd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

KeptFd::KeptFd(UniqueFd fd) {
  UniqueFd kept = AboveStandardStreams(std::move(fd));
  struct stat64 status = {};
  if (!kept || fstat64(kept.get(), &status) != 0) return;
  device_ = status.st_dev;
  inode_ = status.st_ino;
  fd_ = kept.Release();
}

KeptFd& KeptFd::operator=(KeptFd&& other) noexcept {
  std::swap(fd_, other.fd_);
  std::swap(device_, other.device_);
  std::swap(inode_, other.inode_);
  return *this;
}

KeptFd::~KeptFd() {
  if (IsOurs()) close(fd_);
}

bool KeptFd::IsSameFile(int fd) const {
  struct stat64 status = {};
  return fd >= 0 && fstat64(fd, &status) == 0 && status.st_dev == device_ &&
         status.st_ino == inode_;
}

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

}  // namespace qrv::desktop
