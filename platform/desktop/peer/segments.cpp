#include "platform/desktop/peer/segments.h"

#include <fcntl.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <limits>

#include "platform/desktop/error.h"
#include "platform/desktop/peer/signals.h"
#include "platform/memory/prefault.h"

namespace qrv::desktop {
namespace {

constexpr int kCollapse = 25;  // MADV_COLLAPSE since Linux 6.1; older C libraries don't define it
constexpr uint64_t kMinSizeStep = uint64_t{64} << 10;
// Protocols state sizes as signed integers.
constexpr uint64_t kMaxSize = std::numeric_limits<int32_t>::max();

// Rounds up by at most an eighth, or the smallest step, so that captures of similar sizes can use
// the same segment.
uint64_t SegmentSize(uint64_t bytes) {
  const uint64_t step = std::max(kMinSizeStep, std::bit_floor(bytes) / 8);
  return (bytes + step - 1) / step * step;
}

bool IsFree(const std::shared_ptr<Segment>& segment) {
  if (segment.use_count() != 1) return false;
  // The reads of the last frame's owner happen before the other process's next writes.
  std::atomic_thread_fence(std::memory_order_acquire);
  return true;
}

bool Reserve(int file, size_t offset, size_t size) {
  return fallocate64(file, FALLOC_FL_KEEP_SIZE, static_cast<off64_t>(offset),
                     static_cast<off64_t>(size)) == 0;
}

// Maps the file at an address that is aligned for huge pages, unless it is too small for one.
void* MapShared(int file, size_t size) {
  const auto map = [=](void* address, int flags) {
    return mmap(address, size, PROT_READ | PROT_WRITE, MAP_SHARED | flags, file, 0);
  };
  if (size < kHugePageBytes) return map(nullptr, 0);
  const size_t space = size + kHugePageBytes;
  void* const found = mmap(nullptr, space, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (found == MAP_FAILED) return map(nullptr, 0);
  auto* const begin = static_cast<uint8_t*>(found);
  const auto address = reinterpret_cast<uintptr_t>(begin);
  const size_t before = RoundUp(address, kHugePageBytes) - address;
  void* const memory = map(begin + before, MAP_FIXED);
  if (memory == MAP_FAILED) {
    munmap(begin, space);
    return map(nullptr, 0);
  }
  const size_t end = RoundUp(before + size, kPageBytes);
  if (before > 0) munmap(begin, before);
  munmap(begin + end, space - end);
  return memory;
}

// A huge page is zeroed and mapped in one step, in the other process too. Page by page, that takes
// longer than copying the pixels.
void CollapseToHugePages(int file, uint8_t* memory, size_t size) {
  for (size_t at = 0; at + kHugePageBytes <= size; at += kHugePageBytes) {
    // The kernel does not collapse a range without any page.
    if (!Reserve(file, at, kPageBytes)) return;
    if (madvise(memory + at, kHugePageBytes, kCollapse) != 0) return;
  }
}

}  // namespace

// Allocates all pages at once: touching one that the file system has no memory for would raise a
// signal. A signal that arrives meanwhile would undo the allocation, so signals are blocked.
Segment::Segment(size_t size)
    : file_(memfd_create("screenshot", MFD_CLOEXEC | MFD_ALLOW_SEALING)), size_(size) {
  const SignalGuard noSignals;
  if (!file_) throw Error(Reason::kNoMemory, "no descriptor is left for shared memory");
  const int file = file_.get();
  if (ftruncate64(file, static_cast<off64_t>(size)) == 0 &&
      fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0) {
    void* const memory = MapShared(file, size);
    if (memory != MAP_FAILED) memory_ = static_cast<uint8_t*>(memory);
  }
  if (memory_ != nullptr) {
    CollapseToHugePages(file, memory_, size);
    if (Reserve(file, 0, size)) return;
    munmap(memory_, size);
  }
  throw Error(Reason::kNoMemory, "there is no memory to share");
}

Segment::~Segment() { munmap(memory_, size_); }

std::shared_ptr<Segment> SegmentPool::Acquire(uint64_t bytes) {
  KeepFree(kMaxFree);
  // The last one that is large enough is the smallest.
  const auto found = std::find_if(
      segments_.rbegin(), segments_.rend(),
      [bytes](const auto& segment) { return segment->size() >= bytes && IsFree(segment); });
  if (found != segments_.rend()) return *found;
  KeepFree(0);
  const uint64_t size = SegmentSize(bytes);
  if (size > kMaxSize) throw Error(Reason::kNoMemory, "the capture is too large for shared memory");
  auto segment = std::make_shared<Segment>(static_cast<size_t>(size));
  const auto smaller = std::find_if(segments_.begin(), segments_.end(),
                                    [size](const auto& each) { return each->size() < size; });
  const auto inserted = segments_.insert(smaller, segment);
  try {
    segment->id = Attach(segment->file_.get(), segment->size());
  } catch (...) {
    segments_.erase(inserted);
    throw;
  }
  segment->file_ = UniqueFd();
  return segment;
}

void SegmentPool::KeepFree(size_t count) {
  std::erase_if(segments_, [&](const std::shared_ptr<Segment>& segment) {
    if (!IsFree(segment)) return false;
    if (count > 0) {
      --count;
      return false;
    }
    Detach(segment->id);
    return true;
  });
}

}  // namespace qrv::desktop
