#include "platform/desktop/large_pages.h"

#include <QRV/Desktop.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>

namespace qrv {
namespace {

using desktop::Clock;

// Zeroing a large page takes a fraction of kAtHand, the ordinary ones in its place less than
// kNoFaster; fetching either from a virtual machine's host takes several times that.
constexpr std::chrono::milliseconds kAtHand{1};
constexpr std::chrono::milliseconds kNoFaster{3};
constexpr std::chrono::milliseconds kRemembered{500};

// Until then large pages are taken not to be at hand; or ordinary ones to be no faster.
std::atomic<Clock::time_point> avoidedUntil{Clock::time_point{}};
std::atomic<Clock::time_point> toleratedUntil{Clock::time_point{}};

// Large pages. A single one may have been slow because another thread had the processor.
std::atomic<int> slowInARow = 0;

void LearnOrdinaryPages(Clock::time_point begin) {
  const Clock::time_point end = Clock::now();
  if (end - begin <= kNoFaster) return;
  avoidedUntil = Clock::time_point{};
  toleratedUntil = end + kRemembered;
}

constexpr size_t kPageBytes = 4096;

size_t RoundUp(size_t value, size_t step) { return (value + step - 1) / step * step; }

bool Advise(uintptr_t start, size_t size, int advice) {
  return madvise(reinterpret_cast<void*>(start), size, advice) == 0;
}

// Calls `use` with the address and the size of what each large page has of the whole pages of that
// memory, while it yields true.
template <typename Use>
void ForEachLargePage(const void* memory, size_t size, Use use) {
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t end = (start + size) / kPageBytes * kPageBytes;
  const int error = errno;
  for (uintptr_t next, at = RoundUp(start, kPageBytes); at < end; at = next) {
    next = std::min(RoundUp(at + 1, kLargePageBytes), end);
    if (!use(at, next - at)) break;
  }
  errno = error;
}

// Memory that has been written before has its pages from the start on.
bool HasPages(uintptr_t start, size_t size) {
  unsigned char isThere = 0;
  void* const last = reinterpret_cast<void*>(start + size - kPageBytes);
  return mincore(last, kPageBytes, &isThere) == 0 && (isThere & 1) != 0;
}

}  // namespace

bool desktop::LargePagesAreAtHand() { return Clock::now() >= avoidedUntil.load(); }

void desktop::LearnLargePage(Clock::time_point begin) {
  const Clock::time_point end = Clock::now();
  if (end - begin <= kAtHand || end < toleratedUntil.load()) {
    slowInARow = 0;
  } else if (++slowInARow > 1) {
    avoidedUntil = end + kRemembered;
  }
}

void FetchPages(void* memory, size_t size) noexcept {
  ForEachLargePage(memory, size, [](uintptr_t start, size_t bytes) {
    const bool isWhole = bytes == kLargePageBytes;
    if (HasPages(start, bytes)) {
      // The system makes a large one of them in its own time.
      return !isWhole || Advise(start, bytes, MADV_HUGEPAGE);
    }
    const Clock::time_point begin = Clock::now();
    const bool isLarge = isWhole && desktop::LargePagesAreAtHand();
    if (isLarge) Advise(start, bytes, MADV_HUGEPAGE);
    const bool isDone = Advise(start, bytes, MADV_POPULATE_WRITE);
    if (isLarge) {
      desktop::LearnLargePage(begin);
    } else {
      LearnOrdinaryPages(begin);
    }
    return isDone;
  });
}

void PreferLargePages(void* memory, size_t size) noexcept {
  if (!desktop::LargePagesAreAtHand()) return;
  const auto address = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t start = RoundUp(address, kLargePageBytes);
  const uintptr_t end = (address + size) / kLargePageBytes * kLargePageBytes;
  const int error = errno;
  if (start < end) Advise(start, end - start, MADV_HUGEPAGE);
  errno = error;
}

}  // namespace qrv
