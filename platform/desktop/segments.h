// Memory that another process writes captured pixels into and this process reads.
#ifndef PLATFORM_DESKTOP_SEGMENTS_H_
#define PLATFORM_DESKTOP_SEGMENTS_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace qrv::desktop {

// A segment's mapping into this process, under the number by which the other one knows it. It stays
// readable when the other one forgets the segment.
class Segment {
 public:
  // Takes all of the file's room and maps it; memory() is null when there is none.
  Segment(uint32_t id, int fd, size_t size);
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;
  ~Segment();

  uint32_t id() const { return id_; }
  uint8_t* memory() const { return memory_; }
  size_t size() const { return size_; }

 private:
  uint32_t id_;
  uint8_t* memory_ = nullptr;
  size_t size_;
};

// The segments of one connection. Who owns what:
//   - the pool shares each segment with the frames whose pixels lie in it;
//   - a segment that only the pool holds is free, and the next capture overwrites it; frames are
//     let go on any thread, but only the pool hands segments out, so a free one stays free;
//   - the pool tells the other process to forget a segment when it lets one go, and it lets go only
//     of free ones: all but the four largest, and those that are too small when none suffices;
//   - the other process forgets all of them when the connection closes; the last owner unmaps.
class SegmentPool {
 public:
  static constexpr size_t kMaxFree = 4;

  SegmentPool() = default;
  SegmentPool(const SegmentPool&) = delete;
  SegmentPool& operator=(const SegmentPool&) = delete;
  virtual ~SegmentPool() = default;

  // A free segment of at least that many bytes; null, and one line in `refusal`, when the other
  // process or this one has none left.
  std::shared_ptr<Segment> Acquire(uint64_t bytes, const char*& refusal);

 private:
  // A new segment that both processes know. Null and `refusal` as above.
  virtual std::shared_ptr<Segment> Create(size_t size, const char*& refusal) = 0;
  virtual void TellToForget(const Segment& segment) = 0;

  void KeepFree(size_t count);

  std::vector<std::shared_ptr<Segment>> segments_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_SEGMENTS_H_
