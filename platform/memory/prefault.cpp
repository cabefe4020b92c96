#include "platform/memory/prefault.h"

#include <sys/mman.h>

#include <cerrno>

namespace qrv {
namespace {

bool Advise(uintptr_t start, size_t size, int advice) {
  return madvise(reinterpret_cast<void*>(start), size, advice) == 0;
}

// Memory that was written before has its pages from the start on.
bool HasPages(uintptr_t start, size_t size) {
  unsigned char isThere = 0;
  void* const last = reinterpret_cast<void*>(start + size - kPageBytes);
  return mincore(last, kPageBytes, &isThere) == 0 && (isThere & 1) != 0;
}

}  // namespace

void Prefault(void* memory, size_t size) noexcept {
  const int error = errno;
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t end = (start + size) / kPageBytes * kPageBytes;
  for (uintptr_t next, at = RoundUp(start, kPageBytes); at < end; at = next) {
    next = std::min(RoundUp(at + 1, kHugePageBytes), end);
    const size_t bytes = next - at;
    if (bytes == kHugePageBytes) Advise(at, bytes, MADV_HUGEPAGE);
    if (!HasPages(at, bytes) && !Advise(at, bytes, MADV_POPULATE_WRITE)) break;
  }
  errno = error;
}

}  // namespace qrv
