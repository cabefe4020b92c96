#include "cli/output/pending_file.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qrv::cli {

namespace {

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};
constexpr int kMaximumNames = 1000;

// The pending file's temporary name, empty when it has none; where it has none, a descriptor of it,
// else -1. Changed only while the signals are blocked.
char pendingPath[PATH_MAX];
int namelessFile = -1;

void RemoveAndEnd(int signal) {
  if (pendingPath[0] != '\0') unlink(pendingPath);
  raise(signal);  // its default action is back, and takes effect when this handler returns
}

// Holds the signals back while the file and the path change together.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kEndingSignals) sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, &before_);
  }
  ~SignalsBlocked() {
    const int error = errno;
    sigprocmask(SIG_SETMASK, &before_, nullptr);
    errno = error;
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

// A signal that the process was started to ignore stays ignored.
void HandleSignals() {
  for (const int signal : kEndingSignals) {
    struct sigaction action = {};
    if (sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
      action.sa_handler = RemoveAndEnd;
      action.sa_flags = static_cast<int>(SA_RESETHAND);
      sigaction(signal, &action, nullptr);
    }
  }
}

void CloseNameless() {
  const int error = errno;
  if (namelessFile >= 0) close(namelessFile);
  namelessFile = -1;
  errno = error;
}

// Tries temporary names beside `path`, a file or the start of one's name, until `make` has made a
// file of that name. What `make` gave for it, or -1 and errno; the name is in pendingPath then.
template <typename Make>
int TakeTemporaryName(const char* path, Make make) {
  const char* const slash = strrchr(path, '/');
  const int folderLength = slash == nullptr ? 0 : static_cast<int>(slash + 1 - path);
  for (int number = 0; number < kMaximumNames; ++number) {
    char name[PATH_MAX];
    const int length = snprintf(name, sizeof name, "%.*s.qrvshot-%d-%d.tmp", folderLength, path,
                                static_cast<int>(getpid()), number);
    if (length < 0 || static_cast<size_t>(length) >= sizeof name) {
      errno = ENAMETOOLONG;
      return -1;
    }
    const int result = make(name);
    if (result >= 0) {
      memcpy(pendingPath, name, sizeof name);
      return result;
    }
    if (errno != EEXIST) return -1;
  }
  return -1;
}

// The kernel's name for a descriptor's file, by which it can be linked.
struct DescriptorPath {
  explicit DescriptorPath(int descriptor) {
    snprintf(path, sizeof path, "/proc/self/fd/%d", descriptor);
  }
  char path[32];
};

// -1 where the file system, or a machine without /proc, can't do without a name.
int CreateNameless(const char* target) {
  const char* const slash = strrchr(target, '/');
  const std::string folder = slash == nullptr ? "." : std::string(target, slash + 1);
  const int descriptor = open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
  if (descriptor < 0) return -1;
  namelessFile = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (namelessFile < 0 || access(DescriptorPath(namelessFile).path, F_OK) != 0) {
    close(descriptor);
    CloseNameless();
    return -1;
  }
  return descriptor;
}

int CreateNamed(const char* target) {
  const int descriptor = TakeTemporaryName(target, [](const char* name) {
    return open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  });
  if (descriptor >= 0) HandleSignals();
  return descriptor;
}

// Gives the nameless file the target's name, or a temporary one when that is taken.
bool NameFile(const char* target) {
  const DescriptorPath self(namelessFile);
  const auto link = [&self](const char* name) {
    return linkat(AT_FDCWD, self.path, AT_FDCWD, name, AT_SYMLINK_FOLLOW);
  };
  return link(target) == 0 || (errno == EEXIST && TakeTemporaryName(target, link) == 0);
}

bool Place(const char* target) {
  if (namelessFile >= 0 && !NameFile(target)) return false;
  return pendingPath[0] == '\0' || rename(pendingPath, target) == 0;
}

bool PlaceUnlessTaken(const char* target) {
  if (namelessFile >= 0) {
    const DescriptorPath self(namelessFile);
    return linkat(AT_FDCWD, self.path, AT_FDCWD, target, AT_SYMLINK_FOLLOW) == 0;
  }
  if (renameat2(AT_FDCWD, pendingPath, AT_FDCWD, target, RENAME_NOREPLACE) == 0) return true;
  // Where the file system knows no such renaming, it knows links.
  return errno == EINVAL && link(pendingPath, target) == 0 && unlink(pendingPath) == 0;
}

// What is left of a pending file that found no place.
void Discard() {
  const int error = errno;
  if (pendingPath[0] != '\0') unlink(pendingPath);
  errno = error;
}

}  // namespace

int CreatePendingFile(const std::string& target) {
  const SignalsBlocked blocked;
  int descriptor = CreateNameless(target.c_str());
  if (descriptor < 0) descriptor = CreateNamed(target.c_str());
  struct stat replaced = {};
  if (descriptor >= 0 && stat(target.c_str(), &replaced) == 0 && S_ISREG(replaced.st_mode)) {
    fchmod(descriptor, replaced.st_mode & 0777);
  }
  return descriptor;
}

bool SettlePendingFile(const char* target) noexcept {
  const SignalsBlocked blocked;
  const bool isPlaced = target != nullptr && Place(target);
  if (!isPlaced) Discard();
  pendingPath[0] = '\0';
  CloseNameless();
  return isPlaced || target == nullptr;
}

bool NamePendingFile(const char* target) noexcept {
  const SignalsBlocked blocked;
  if (!PlaceUnlessTaken(target)) return false;
  pendingPath[0] = '\0';
  CloseNameless();
  return true;
}

}  // namespace qrv::cli
