#include "platform/desktop/segments.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <limits>

#include <QRV/Desktop.h>
#include "platform/desktop/large_pages.h"
#include "platform/desktop/signals.h"

namespace qrv::desktop {
namespace {

constexpr size_t kPageBytes = 4096;
constexpr int kMakeLarge = 25;  // MADV_COLLAPSE since Linux 6.1, which libraries' headers may lack
constexpr uint64_t kLeastSizeStep = uint64_t{64} << 10;
// Protocols state sizes as signed integers.
constexpr uint64_t kMaxSize = std::numeric_limits<int32_t>::max();

// Rounded up by an eighth, or to the least step, so that captures of similar sizes share a segment.
uint64_t SegmentSize(uint64_t bytes) {
  const uint64_t step = std::max(kLeastSizeStep, std::bit_floor(bytes) / 8);
  return (bytes + step - 1) / step * step;
}

bool IsFree(const std::shared_ptr<Segment>& segment) {
  if (segment.use_count() != 1) return false;
  // What the last frame's readers did comes before what the other process writes next.
  std::atomic_thread_fence(std::memory_order_acquire);
  return true;
}

bool HasSize(int fd, size_t size) {
  struct stat64 status = {};
  return fstat64(fd, &status) == 0 && static_cast<uint64_t>(status.st_size) >= size;
}

bool Reserve(int fd, size_t offset, size_t size) {
  return fallocate64(fd, FALLOC_FL_KEEP_SIZE, static_cast<off64_t>(offset),
                     static_cast<off64_t>(size)) == 0;
}

// At a place where large pages can be, if it is large enough for one and there is such a place.
void* MapShared(int fd, size_t size) {
  const auto map = [=](void* place, int flags) {
    return mmap(place, size, PROT_READ | PROT_WRITE, MAP_SHARED | flags, fd, 0);
  };
  if (size < kLargePageBytes) return map(nullptr, 0);
  const size_t space = size + kLargePageBytes;
  void* const found = mmap(nullptr, space, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (found == MAP_FAILED) return map(nullptr, 0);
  auto* const begin = static_cast<uint8_t*>(found);
  const size_t before =
      (kLargePageBytes - reinterpret_cast<uintptr_t>(begin) % kLargePageBytes) % kLargePageBytes;
  void* const memory = map(begin + before, MAP_FIXED);
  if (memory == MAP_FAILED) {
    munmap(begin, space);
    return map(nullptr, 0);
  }
  const size_t end = (before + size + kPageBytes - 1) / kPageBytes * kPageBytes;
  if (before > 0) munmap(begin, before);
  munmap(begin + end, space - end);
  return memory;
}

// Has large pages made for as much of the file as they are at hand for. Each is filled and mapped
// in one step, in the other process too; page by page, that takes longer than to copy the pixels.
void TakeLargePages(int fd, uint8_t* memory, size_t size) {
  for (size_t at = 0; at + kLargePageBytes <= size && LargePagesAreAtHand();
       at += kLargePageBytes) {
    const Clock::time_point begin = Clock::now();
    // One that has nothing in it is not made large.
    if (!Reserve(fd, at, kPageBytes)) return;
    if (madvise(memory + at, kLargePageBytes, kMakeLarge) != 0) return;
    LearnLargePage(begin);
  }
}

}  // namespace

// Touching a mapping beyond its file's end would raise a signal, and so would a page for which its
// file system has no room left when it is touched first. So the file gets all of its room at once.
// Signals are held back because one that arrives undoes the work.
Segment::Segment(uint32_t id, int fd, size_t size) : id_(id), size_(size) {
  const AllSignalsBlocked blocked;
  if (!HasSize(fd, size)) return;
  void* const memory = MapShared(fd, size);
  if (memory == MAP_FAILED) return;
  TakeLargePages(fd, static_cast<uint8_t*>(memory), size);
  if (Reserve(fd, 0, size)) {
    memory_ = static_cast<uint8_t*>(memory);
  } else {
    munmap(memory, size);
  }
}

Segment::~Segment() {
  if (memory_ != nullptr) munmap(memory_, size_);
}

std::shared_ptr<Segment> SegmentPool::Acquire(uint64_t bytes, const char*& refusal) {
  KeepFree(kMaxFree);
  // The largest come first; the last that suffices is the smallest that does.
  const auto found = std::find_if(
      segments_.rbegin(), segments_.rend(),
      [bytes](const auto& segment) { return segment->size() >= bytes && IsFree(segment); });
  if (found != segments_.rend()) return *found;
  KeepFree(0);
  const uint64_t size = SegmentSize(bytes);
  if (size > kMaxSize) {
    refusal = "no shared memory is that large";
    return nullptr;
  }
  auto segment = Create(static_cast<size_t>(size), refusal);
  if (!segment) return nullptr;
  const auto place = std::find_if(segments_.begin(), segments_.end(),
                                  [size](const auto& each) { return each->size() < size; });
  segments_.insert(place, segment);
  return segment;
}

void SegmentPool::KeepFree(size_t count) {
  std::erase_if(segments_, [&](const std::shared_ptr<Segment>& segment) {
    if (!IsFree(segment)) return false;
    if (count > 0) {
      --count;
      return false;
    }
    TellToForget(*segment);
    return true;
  });
}

}  // namespace qrv::desktop
