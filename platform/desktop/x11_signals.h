// Writing to a connection that the server has closed raises SIGPIPE, and xcb does not prevent it.
#ifndef PLATFORM_DESKTOP_X11_SIGNALS_H_
#define PLATFORM_DESKTOP_X11_SIGNALS_H_

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

#endif  // PLATFORM_DESKTOP_X11_SIGNALS_H_
