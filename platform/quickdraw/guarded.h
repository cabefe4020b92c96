// Keeps exceptions from leaving the framework's functions.
#ifndef PLATFORM_QUICKDRAW_GUARDED_H_
#define PLATFORM_QUICKDRAW_GUARDED_H_

#include <exception>

namespace qrv::quickdraw {

// What `call` yields, or `failure` when it throws.
template <typename Result, typename Call>
Result Guarded(Result failure, Call call) noexcept {
  try {
    return call();
  } catch (const std::exception&) {
    return failure;
  }
}

template <typename Call>
void Guarded(Call call) noexcept {
  try {
    call();
  } catch (const std::exception&) {
  }
}

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_GUARDED_H_
