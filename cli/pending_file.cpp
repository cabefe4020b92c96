#include "cli/pending_file.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

namespace qrv::cli {

namespace {

constexpr int kEndingSignals[] = {SIGHUP, SIGINT, SIGTERM};

// Empty when no file is pending. Changed only while the signals are blocked.
char pendingPath[PATH_MAX];

void RemoveAndEnd(int signal) {
  if (pendingPath[0] != '\0') {
    unlink(pendingPath);
  }
  raise(signal);  // its default action is back, and takes effect when this handler returns
}

// Holds the signals back while the file and the path change together.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kEndingSignals) {
      sigaddset(&signals, signal);
    }
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

}  // namespace

int CreatePendingFile(const std::string& path) noexcept {
  if (path.size() >= sizeof pendingPath) {
    errno = ENAMETOOLONG;
    return -1;
  }
  const SignalsBlocked blocked;
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor >= 0) {
    memcpy(pendingPath, path.c_str(), path.size() + 1);
    HandleSignals();
  }
  return descriptor;
}

bool SettlePendingFile(const char* target) noexcept {
  const SignalsBlocked blocked;
  const bool renamed = target != nullptr && rename(pendingPath, target) == 0;
  if (!renamed) {
    const int error = errno;
    unlink(pendingPath);
    errno = error;
  }
  pendingPath[0] = '\0';
  return renamed || target == nullptr;
}

}  // namespace qrv::cli
