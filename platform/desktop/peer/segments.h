// Memory that another process writes captured pixels into and this process reads.
#ifndef PLATFORM_DESKTOP_PEER_SEGMENTS_H_
#define PLATFORM_DESKTOP_PEER_SEGMENTS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/desktop/peer/descriptors.h"

namespace qrv::desktop {

// A memory file, mapped into this process. It can't shrink and all of its pages are allocated, so
// reading it raises no signal whatever the other process does. The mapping stays readable when the
// other process forgets the segment.
class Segment {
 public:
  // Throws Error when there is no room for that many bytes, or no descriptor.
  explicit Segment(size_t size);
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;
  ~Segment();

  uint8_t* memory() const { return memory_; }
  size_t size() const { return size_; }

  uint32_t id = 0;  // the other process's name for it

 private:
  friend class SegmentPool;
  UniqueFd file_;  // until the other process has it
  uint8_t* memory_ = nullptr;
  size_t size_;
};

// The segments of one connection. Who owns what:
//   - the pool shares each segment with the frames whose pixels lie in it;
//   - a segment that only the pool holds is free, and the next capture may overwrite it; frames are
//     released on any thread, but only the pool hands segments out, so a free one stays free;
//   - the pool has the other process forget a segment when it drops one, and it drops only free
//     ones: all but the four largest, and all of them when none is large enough;
//   - the other process forgets all of them when the connection closes; the last owner unmaps.
class SegmentPool {
 public:
  static constexpr size_t kMaxFree = 4;

  SegmentPool() = default;
  SegmentPool(const SegmentPool&) = delete;
  SegmentPool& operator=(const SegmentPool&) = delete;
  virtual ~SegmentPool() = default;

  // A free segment of at least that many bytes. Throws Error when there is no memory for it, or the
  // other process refuses it.
  std::shared_ptr<Segment> Acquire(uint64_t bytes);

 private:
  // Passes a segment's file to the other process and returns the segment's id there. Throws Error.
  virtual uint32_t Attach(int file, size_t size) = 0;
  virtual void Detach(uint32_t id) = 0;

  // Drops all free segments but the `count` largest.
  void KeepFree(size_t count);

  std::vector<std::shared_ptr<Segment>> segments_;  // the largest first
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_SEGMENTS_H_
