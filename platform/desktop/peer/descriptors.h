// File descriptors in a process that is not ours, and waiting on them.
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

// A descriptor that is kept from call to call, in a process that may close it and give its number
// to a file of its own: a program that becomes a daemon closes all that it did not open. So it is
// closed only while it still is the file that it was. Its number is above those of the standard
// streams.
class KeptFd {
 public:
  KeptFd() = default;
  // Takes the descriptor; is empty when there is none, or no other number for it.
  explicit KeptFd(UniqueFd fd);
  KeptFd(KeptFd&& other) noexcept { *this = std::move(other); }
  KeptFd& operator=(KeptFd&& other) noexcept;
  ~KeptFd();

  int get() const { return fd_; }

  // Whether it still is what was opened; whether another number is that too.
  bool IsOurs() const { return IsSameFile(fd_); }
  bool IsSameFile(int fd) const;

 private:
  int fd_ = -1;
  dev_t device_ = 0;
  ino64_t inode_ = 0;
};

// Moves a descriptor above those of the standard streams, which belong to the process even while it
// has them closed. Empty when there is no number left.
UniqueFd AboveStandardStreams(UniqueFd fd);

// Waits for poll events of a descriptor, or for its end. False when the deadline passes first.
bool WaitFor(int fd, short events, Deadline deadline);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_DESCRIPTORS_H_
