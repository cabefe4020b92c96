#include "platform/desktop/x11_signals.h"

#include <gtest/gtest.h>

#include <csignal>

namespace qrv::desktop {
namespace {

bool IsPending() {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

TEST(SigpipeGuard, TakesBackASignalRaisedMeanwhile) {
  {
    const SigpipeGuard guard;
    raise(SIGPIPE);  // ends the process if it gets through
  }
  EXPECT_FALSE(IsPending());
}

TEST(SigpipeGuard, LeavesASignalThatWasPendingBefore) {
  sigset_t sigpipe;
  sigemptyset(&sigpipe);
  sigaddset(&sigpipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
  raise(SIGPIPE);
  { const SigpipeGuard guard; }
  EXPECT_TRUE(IsPending());
  int taken = 0;
  sigwait(&sigpipe, &taken);
  pthread_sigmask(SIG_UNBLOCK, &sigpipe, nullptr);
}

}  // namespace
}  // namespace qrv::desktop
