// Large pages for pixels: a picture that is written once is mostly page faults otherwise.
#ifndef PLATFORM_LARGE_PAGES_H_
#define PLATFORM_LARGE_PAGES_H_

#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace qrv {

// Tells the system that the memory is worth large pages, as far as it is made of whole ones. Only a
// hint: it changes neither the content nor whose the memory is, nor errno.
inline void PreferLargePages(void* memory, size_t size) {
  constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
  const uintptr_t end = (start + size) / kLargePage * kLargePage;
  if (first >= end) return;
  const int error = errno;
  madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
  errno = error;
}

}  // namespace qrv

#endif  // PLATFORM_LARGE_PAGES_H_
