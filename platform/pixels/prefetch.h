// Having rows fetched into the cache before they are read. The processor does so by itself within
// pages of 4 KiB that are read from their start on; passes over pictures leave those all the time.
#ifndef PLATFORM_PIXELS_PREFETCH_H_
#define PLATFORM_PIXELS_PREFETCH_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace qrv::pixels {

// While the row at `row` is read, asks for the one that is read a little later, of rows that are
// `step` bytes apart: far enough ahead to be there in time, near enough to be there still. Whether
// there is such a row doesn't matter: this never faults.
inline void PrefetchRowAhead(const uint8_t* row, ptrdiff_t step, size_t bytes) {
  constexpr ptrdiff_t kEnough = ptrdiff_t{16} << 10;
  constexpr size_t kLineBytes = 64;
  const ptrdiff_t rows = step == 0 ? 0 : (kEnough - 1) / std::abs(step) + 1;
  const auto first = reinterpret_cast<uintptr_t>(row) + static_cast<uintptr_t>(rows * step);
  for (size_t i = 0; i < bytes; i += kLineBytes) {
    __builtin_prefetch(reinterpret_cast<const void*>(first + i));
  }
}

}  // namespace qrv::pixels

#endif  // PLATFORM_PIXELS_PREFETCH_H_
