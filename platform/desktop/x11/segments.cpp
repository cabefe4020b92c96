#include "platform/desktop/x11/segments.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <limits>

#include "platform/desktop/signals.h"

namespace qrv::desktop {
namespace {

constexpr size_t kMaxFree = 2;
// Sizes are multiples of this, so that captures of similar sizes share a segment.
constexpr uint64_t kSizeStep = uint64_t{1} << 20;

bool IsFree(const std::shared_ptr<Segment>& segment) {
  if (segment.use_count() != 1) return false;
  // What the last frame's readers did comes before what the server writes next.
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

// A connection is lost when the descriptor that comes with a reply finds no place.
bool HasFreeDescriptor(int any) {
  return static_cast<bool>(UniqueFd(fcntl(any, F_DUPFD_CLOEXEC, 0)));
}

}  // namespace

Segment::~Segment() { munmap(memory_, size_); }

std::shared_ptr<Segment> SegmentPool::Acquire(uint64_t bytes, const char*& refusal) {
  KeepFree(kMaxFree);
  // The largest come first; the last that suffices is the smallest that does.
  const auto found = std::find_if(
      segments_.rbegin(), segments_.rend(),
      [bytes](const auto& segment) { return segment->size() >= bytes && IsFree(segment); });
  if (found != segments_.rend()) return *found;
  KeepFree(0);
  return Create(bytes, refusal);
}

void SegmentPool::KeepFree(size_t count) {
  std::erase_if(segments_, [&](const std::shared_ptr<Segment>& segment) {
    if (!IsFree(segment)) return false;
    if (count > 0) {
      --count;
      return false;
    }
    xcb_shm_detach(connection_.get(), segment->id());
    return true;
  });
}

std::shared_ptr<Segment> SegmentPool::Create(uint64_t bytes, const char*& refusal) {
  const uint64_t rounded = (bytes + kSizeStep - 1) / kSizeStep * kSizeStep;
  if (rounded > std::min<uint64_t>(PTRDIFF_MAX, std::numeric_limits<uint32_t>::max())) {
    refusal = "no shared memory is that large";
    return nullptr;
  }
  const auto size = static_cast<size_t>(rounded);
  xcb_connection_t* const xcb = connection_.get();
  if (!HasFreeDescriptor(xcb_get_file_descriptor(xcb))) {
    refusal = "there is no descriptor left for shared memory";
    return nullptr;
  }
  const xcb_shm_seg_t id = xcb_generate_id(xcb);
  const auto cookie = xcb_shm_create_segment(xcb, id, static_cast<uint32_t>(size), 0);
  const auto reply = connection_.AwaitShort<xcb_shm_create_segment_reply_t>(cookie.sequence);
  if (!reply || reply->nfd != 1) {
    refusal = "the X server refuses shared memory";
    return nullptr;
  }
  const UniqueFd fd(*xcb_shm_create_segment_reply_fds(xcb, reply.get()));
  fcntl(fd.get(), F_SETFD, FD_CLOEXEC);
  void* const memory = ReserveMemory(fd.get(), size)
                           ? mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0)
                           : MAP_FAILED;
  if (memory == MAP_FAILED) {
    refusal = "there is no room for shared memory";
    xcb_shm_detach(xcb, id);
    return nullptr;
  }
  auto segment = std::make_shared<Segment>(id, static_cast<uint8_t*>(memory), size);
  const auto place = std::find_if(segments_.begin(), segments_.end(),
                                  [size](const auto& each) { return each->size() < size; });
  segments_.insert(place, segment);
  return segment;
}

}  // namespace qrv::desktop
