// 32-bit arithmetic on a caller's numbers, which wraps as two's complement does when it overflows.
#ifndef PLUGIN_CAPTURE_WRAPPING_H_
#define PLUGIN_CAPTURE_WRAPPING_H_

#include <stdint.h>

namespace capture {

inline int32_t WrappingAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

inline int32_t WrappingSubtract(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

inline int32_t WrappingMultiply(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// Truncates toward zero; 0 when the divisor is 0.
inline int32_t WrappingDivide(int32_t a, int32_t b) {
  if (b == 0) return 0;
  if (b == -1) return WrappingSubtract(0, a);  // a / b traps where -a does not fit
  return a / b;
}

}  // namespace capture

#endif  // PLUGIN_CAPTURE_WRAPPING_H_
