#include "platform/desktop/x11_watchdog.h"

#include <sys/socket.h>

#include "platform/desktop/x11_signals.h"

namespace qrv::desktop {

Watchdog::Watchdog(int socket, Deadline deadline) {
  const AllSignalsBlocked blocked;
  thread_ = std::thread([this, socket, deadline] { Watch(socket, deadline); });
}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    calledOff_ = true;
  }
  change_.notify_one();
  thread_.join();
}

bool Watchdog::HasBitten() {
  const std::lock_guard lock(mutex_);
  return bitten_;
}

void Watchdog::Watch(int socket, Deadline deadline) {
  std::unique_lock lock(mutex_);
  if (change_.wait_until(lock, deadline, [this] { return calledOff_; })) return;
  bitten_ = true;
  shutdown(socket, SHUT_RDWR);
}

}  // namespace qrv::desktop
