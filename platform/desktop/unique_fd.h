// A file descriptor that closes itself.
#ifndef PLATFORM_DESKTOP_UNIQUE_FD_H_
#define PLATFORM_DESKTOP_UNIQUE_FD_H_

#include <unistd.h>

#include <utility>

namespace qrv::desktop {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.Release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd() {
    if (fd_ >= 0) close(fd_);
  }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }

 private:
  int fd_ = -1;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_UNIQUE_FD_H_
