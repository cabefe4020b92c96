// Memory that an X server writes captured pixels into and this process reads.
#ifndef PLATFORM_DESKTOP_X11_SEGMENTS_H_
#define PLATFORM_DESKTOP_X11_SEGMENTS_H_

#include <xcb/shm.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/desktop/x11/connection.h"

namespace qrv::desktop {

// A segment's mapping into this process. It stays readable when the server forgets the segment.
class Segment {
 public:
  Segment(xcb_shm_seg_t id, uint8_t* memory, size_t size) : id_(id), memory_(memory), size_(size) {}
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;
  ~Segment();

  xcb_shm_seg_t id() const { return id_; }
  uint8_t* memory() const { return memory_; }
  size_t size() const { return size_; }

 private:
  xcb_shm_seg_t id_;
  uint8_t* memory_;
  size_t size_;
};

// The segments of one connection. Who owns what:
//   - the pool shares each segment with the frames whose pixels lie in it;
//   - a segment that only the pool holds is free, and the next capture overwrites it; frames are
//     let go on any thread, but only the pool hands segments out, so a free one stays free;
//   - the pool tells the server to forget a segment when it lets one go, and it lets go only of
//     free ones: all but the two largest, and those that are too small when none suffices;
//   - the server forgets all of them when the connection closes; the last owner unmaps.
class SegmentPool {
 public:
  explicit SegmentPool(Connection& connection) : connection_(connection) {}

  // A free segment of at least that many bytes; null, and one line in `refusal`, when the server or
  // this process has none left.
  std::shared_ptr<Segment> Acquire(uint64_t bytes, const char*& refusal);

 private:
  void KeepFree(size_t count);
  std::shared_ptr<Segment> Create(uint64_t bytes, const char*& refusal);

  Connection& connection_;
  std::vector<std::shared_ptr<Segment>> segments_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_SEGMENTS_H_
