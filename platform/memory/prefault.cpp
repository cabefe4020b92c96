#include "platform/memory/prefault.h"

#include <sys/mman.h>

#include <cerrno>

namespace qrv {
namespace {

bool Advise(uintptr_t start, size_t size, int advice) {
  return madvise(reinterpret_cast<void*>(start), size, advice) == 0;
}

// Looks only at the last page: memory that was written before was written from its start.
bool HasPages(uintptr_t start, size_t size) {
  unsigned char residency = 0;
  void* const last = reinterpret_cast<void*>(start + size - kPageBytes);
  return mincore(last, kPageBytes, &residency) == 0 && (residency & 1) != 0;
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
