// Prefetching rows into the cache before they are read. The processor itself prefetches only within
// a page of 4 KiB, and a pass over a picture changes pages all the time.
#ifndef PLATFORM_PIXELS_PREFETCH_H_
#define PLATFORM_PIXELS_PREFETCH_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace qrv::pixels {

// Prefetches a later row, to be called before `row` is read, of rows that are `step` bytes apart:
// far enough ahead to arrive in time, near enough to stay in the cache. The row need not exist,
// because a prefetch never faults.
inline void PrefetchRowAhead(const uint8_t* row, ptrdiff_t step, size_t bytes) {
  constexpr ptrdiff_t kDistance = ptrdiff_t{16} << 10;  // bytes
  constexpr size_t kLineBytes = 64;
  const ptrdiff_t rows = step == 0 ? 0 : (kDistance - 1) / std::abs(step) + 1;
  const auto first = reinterpret_cast<uintptr_t>(row) + static_cast<uintptr_t>(rows * step);
  for (size_t i = 0; i < bytes; i += kLineBytes) {
    __builtin_prefetch(reinterpret_cast<const void*>(first + i));
  }
}

}  // namespace qrv::pixels

#endif  // PLATFORM_PIXELS_PREFETCH_H_
