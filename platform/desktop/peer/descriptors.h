// File descriptors in a host's process, and waiting for them.
#ifndef PLATFORM_DESKTOP_PEER_DESCRIPTORS_H_
#define PLATFORM_DESKTOP_PEER_DESCRIPTORS_H_

#include <sys/types.h>
#include <unistd.h>

#include <utility>

#include "platform/desktop/deadline.h"

namespace qrv::desktop {

// A file descriptor that closes itself.
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

// A descriptor that is kept between calls. Meanwhile the host may close it and reuse its number: a
// program that becomes a daemon closes every descriptor that it did not open itself. So the
// destructor closes the number only while it still refers to the same file. The number is above
// those of the standard streams.
class KeptFd {
 public:
  KeptFd() = default;
  // Takes ownership. Empty when the descriptor is empty, or no number is left for it.
  explicit KeptFd(UniqueFd fd);
  KeptFd(KeptFd&& other) noexcept { *this = std::move(other); }
  KeptFd& operator=(KeptFd&& other) noexcept;
  ~KeptFd();

  int get() const { return fd_; }

  // Whether the number still refers to the file that was opened.
  bool IsOurs() const { return IsSameFile(fd_); }
  // Whether `fd` refers to that file.
  bool IsSameFile(int fd) const;

 private:
  int fd_ = -1;
  dev_t device_ = 0;
  ino64_t inode_ = 0;
};

// Moves a descriptor above those of the standard streams, which belong to the process even while
// they are closed. Empty when no number is left.
UniqueFd AboveStandardStreams(UniqueFd fd);

// Waits for poll events of a descriptor, or for a hang-up. False when the deadline passes first.
bool WaitFor(int fd, short events, Deadline deadline);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_DESCRIPTORS_H_
