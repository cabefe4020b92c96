// The signals of a process that is not ours. Writing to a connection that the other side has closed
// raises SIGPIPE, and libraries that speak to desktops do not prevent it.
#ifndef PLATFORM_DESKTOP_PEER_SIGNALS_H_
#define PLATFORM_DESKTOP_PEER_SIGNALS_H_

#include <pthread.h>

#include <csignal>

namespace qrv::desktop {

// Keeps SIGPIPE from the calling thread and takes back one that was raised meanwhile; a SIGPIPE
// that was pending before stays pending. The process's disposition of the signal is not touched.
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

// Keeps the calling thread from being cancelled: it is afterwards. Nothing here unwinds halfway.
class NoCancellation {
 public:
  NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
  NoCancellation(const NoCancellation&) = delete;
  NoCancellation& operator=(const NoCancellation&) = delete;
  ~NoCancellation() { pthread_setcancelstate(previous_, nullptr); }

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

// Blocks every signal in the calling thread, so that a thread started meanwhile gets none.
class AllSignalsBlocked {
 public:
  AllSignalsBlocked();
  AllSignalsBlocked(const AllSignalsBlocked&) = delete;
  AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;
  ~AllSignalsBlocked();

 private:
  sigset_t previous_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_SIGNALS_H_
