#include "platform/desktop/peer/signals.h"

#include <ctime>

namespace qrv::desktop {
namespace {

sigset_t OnlySigpipe() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGPIPE);
  return set;
}

bool IsSigpipePending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

SigpipeGuard::SigpipeGuard() : wasPending_(IsSigpipePending()) {
  const sigset_t sigpipe = OnlySigpipe();
  pthread_sigmask(SIG_BLOCK, &sigpipe, &previous_);
}

SigpipeGuard::~SigpipeGuard() {
  if (!wasPending_ && IsSigpipePending()) {
    const sigset_t sigpipe = OnlySigpipe();
    const timespec noWait = {};
    sigtimedwait(&sigpipe, nullptr, &noWait);
  }
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

SignalGuard::SignalGuard() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous_);
}

SignalGuard::~SignalGuard() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

}  // namespace qrv::desktop
