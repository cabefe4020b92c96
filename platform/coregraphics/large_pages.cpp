#include "platform/coregraphics/large_pages.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstdint>

namespace qrv::coregraphics {

void PreferLargePages(void* memory, size_t size) {
  constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t first = (start + kLargePage - 1) / kLargePage * kLargePage;
  const uintptr_t end = (start + size) / kLargePage * kLargePage;
  if (first >= end) return;
  const int error = errno;
  madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
  errno = error;
}

}  // namespace qrv::coregraphics
