#include <QRV/Desktop.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <chrono>

namespace qrv {
namespace {

using Clock = std::chrono::steady_clock;

// Zeroing a large page takes a fraction of that, fetching it from a virtual machine's host several
// times that.
constexpr std::chrono::milliseconds kAtHand{1};
constexpr std::chrono::milliseconds kRemembered{500};

// Until then large pages are taken not to be at hand.
std::atomic<Clock::time_point> avoidedUntil{Clock::time_point{}};

// Calls `use` with the address of each whole large page while it yields true.
template <typename Use>
void ForEachLargePage(void* memory, size_t size, Use use) {
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t end = start + size;
  const int error = errno;
  uintptr_t page = (start + kLargePageBytes - 1) / kLargePageBytes * kLargePageBytes;
  while (page + kLargePageBytes <= end && use(reinterpret_cast<void*>(page))) {
    page += kLargePageBytes;
  }
  errno = error;
}

}  // namespace

void FetchPages(void* memory, size_t size) noexcept {
  ForEachLargePage(memory, size, [](void* page) {
    const Clock::time_point begin = Clock::now();
    const bool isLarge = begin >= avoidedUntil.load();
    if (isLarge) madvise(page, kLargePageBytes, MADV_HUGEPAGE);
    const bool isDone = madvise(page, kLargePageBytes, MADV_POPULATE_WRITE) == 0;
    const Clock::time_point end = Clock::now();
    if (isLarge && end - begin > kAtHand) avoidedUntil = end + kRemembered;
    return isDone;
  });
}

void PreferLargePages(void* memory, size_t size) noexcept {
  if (Clock::now() < avoidedUntil.load()) return;
  ForEachLargePage(memory, size,
                   [](void* page) { return madvise(page, kLargePageBytes, MADV_HUGEPAGE) == 0; });
}

}  // namespace qrv
