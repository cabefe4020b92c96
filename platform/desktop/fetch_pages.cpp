#include <QRV/Desktop.h>
#include <sys/mman.h>

#include <atomic>
#include <cerrno>
#include <chrono>

namespace qrv {
namespace {

using Clock = std::chrono::steady_clock;

constexpr uintptr_t kLargePage = uintptr_t{2} << 20;
// Zeroing one takes a fraction of that, fetching it from a virtual machine's host several times
// that.
constexpr std::chrono::milliseconds kAtHand{1};
constexpr std::chrono::milliseconds kRemembered{500};

// Until then large pages are taken not to be at hand.
std::atomic<Clock::time_point> avoidedUntil{Clock::time_point{}};

}  // namespace

void FetchPages(void* memory, size_t size) noexcept {
  const auto start = reinterpret_cast<uintptr_t>(memory);
  const uintptr_t end = (start + size) / kLargePage * kLargePage;
  const int error = errno;
  for (uintptr_t at = (start + kLargePage - 1) / kLargePage * kLargePage; at < end;
       at += kLargePage) {
    void* const page = reinterpret_cast<void*>(at);
    const Clock::time_point begin = Clock::now();
    const bool isLarge = begin >= avoidedUntil.load();
    if (isLarge) madvise(page, kLargePage, MADV_HUGEPAGE);
    if (madvise(page, kLargePage, MADV_POPULATE_WRITE) != 0) break;
    const Clock::time_point done = Clock::now();
    if (isLarge && done - begin > kAtHand) avoidedUntil = done + kRemembered;
  }
  errno = error;
}

}  // namespace qrv
