// Keeps exceptions from leaving the frameworks' functions; all there are come from a lack of
// memory. And keeps a thread from being cancelled halfway through one.
#ifndef PLATFORM_GUARDED_H_
#define PLATFORM_GUARDED_H_

#include <QRV/Desktop.h>

#include <exception>

#include "platform/desktop/signals.h"

namespace qrv {

// What `call` yields, or `failure` when it throws.
template <typename Result, typename Call>
Result Guarded(Result failure, Call call) noexcept {
  const desktop::NoCancellation noCancellation;
  try {
    return call();
  } catch (const std::exception&) {
    return failure;
  }
}

// For functions that deliver pixels: when `call` throws, those that are missing count as lost.
template <typename Call>
void Guarded(Call call) noexcept {
  const desktop::NoCancellation noCancellation;
  try {
    call();
  } catch (const std::exception&) {
    desktop::LosePixels(desktop::kNoMemory);
  }
}

}  // namespace qrv

#endif  // PLATFORM_GUARDED_H_
