// Keeps exceptions, all of which mean that memory ran out, from leaving the frameworks' functions,
// and keeps a thread from being cancelled in the middle of one.
#ifndef PLATFORM_GUARDED_H_
#define PLATFORM_GUARDED_H_

#include <exception>

#include "platform/desktop/peer/signals.h"
#include "platform/desktop/session.h"

namespace qrv {

// Returns what `call` returns. When it throws, the capture fails and this returns `failure`.
template <typename Result, typename Call>
Result Guarded(Result failure, Call call) noexcept {
  const desktop::CancellationGuard noCancellation;
  try {
    return call();
  } catch (const std::exception&) {
    desktop::FailCapture(desktop::Reason::kNoMemory, desktop::kNoMemoryMessage);
    return failure;
  }
}

template <typename Call>
void Guarded(Call call) noexcept {
  Guarded(true, [&] {
    call();
    return true;
  });
}

}  // namespace qrv

#endif  // PLATFORM_GUARDED_H_
