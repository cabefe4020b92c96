#include "platform/desktop/segments.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <limits>

#include "platform/desktop/signals.h"

namespace qrv::desktop {
namespace {

constexpr size_t kMaxFree = 4;
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

// Touching a mapping beyond its file's end would raise a signal, and so would a page for which its
// file system has no room left when it is touched first. So the file gets all of its room at once.
// Signals are held back because one that arrives undoes the work.
bool ReserveMemory(int fd, size_t size) {
  const AllSignalsBlocked blocked;
  struct stat64 status = {};
  return fstat64(fd, &status) == 0 && static_cast<uint64_t>(status.st_size) >= size &&
         fallocate64(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off64_t>(size)) == 0;
}

}  // namespace

Segment::Segment(uint32_t id, int fd, size_t size) : id_(id), size_(size) {
  if (!ReserveMemory(fd, size)) return;
  void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (memory != MAP_FAILED) memory_ = static_cast<uint8_t*>(memory);
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
