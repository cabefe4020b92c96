// Guards against signals and cancellation in a host's threads.
#ifndef PLATFORM_DESKTOP_PEER_SIGNALS_H_
#define PLATFORM_DESKTOP_PEER_SIGNALS_H_

#include <pthread.h>

#include <csignal>

namespace qrv::desktop {

// Blocks SIGPIPE in the calling thread and discards one that was raised meanwhile; one that was
// pending before stays pending. Writing to a connection that the peer has closed raises it, and not
// every library prevents that. The process's disposition of the signal is not changed.
class SigpipeGuard {
 public:
  SigpipeGuard();
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;
  ~SigpipeGuard();

 private:
  sigset_t previous_;
  bool wasPending_;
};

// Delays a cancellation of the calling thread until the end of the scope, so that nothing unwinds
// in the middle of it.
class CancellationGuard {
 public:
  CancellationGuard() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  CancellationGuard(const CancellationGuard&) = delete;
  CancellationGuard& operator=(const CancellationGuard&) = delete;
  ~CancellationGuard() { pthread_setcancelstate(previous_, nullptr); }

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

// Blocks all signals in the calling thread.
class SignalGuard {
 public:
  SignalGuard();
  SignalGuard(const SignalGuard&) = delete;
  SignalGuard& operator=(const SignalGuard&) = delete;
  ~SignalGuard();

 private:
  sigset_t previous_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_SIGNALS_H_
