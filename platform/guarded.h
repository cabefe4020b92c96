// Keeps exceptions from leaving the frameworks' functions; all there are come from a lack of
// memory. And keeps a thread from being cancelled halfway through one.
#ifndef PLATFORM_GUARDED_H_
#define PLATFORM_GUARDED_H_

#include <exception>

#include "platform/desktop/peer/signals.h"
#include "platform/desktop/session.h"

namespace qrv {

// What `call` yields, or `failure` when it throws. Pixels that it was to deliver are missing then.
template <typename Result, typename Call>
Result Guarded(Result failure, Call call) noexcept {
  const desktop::NoCancellation noCancellation;
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
