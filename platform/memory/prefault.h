// Pages of memory that is about to be written: that they come is most of the cost of a picture that
// is written once.
#ifndef PLATFORM_MEMORY_PREFAULT_H_
#define PLATFORM_MEMORY_PREFAULT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qrv {

inline constexpr size_t kPageBytes = 4096;
// A huge page begins at a multiple of its size.
inline constexpr size_t kHugePageBytes = size_t{2} << 20;

inline size_t RoundUp(size_t value, size_t step) { return (value + step - 1) / step * step; }

// Has the system hand out the pages of memory that is about to be written, as huge pages where the
// memory has room for whole ones. Changes neither the content nor errno; where it fails, the pages
// come as the memory is written.
void Prefault(void* memory, size_t size) noexcept;

// Prefaults memory that is written from its start to its end, each huge page just before it is
// written, while what the system has zeroed is in the cache.
class Prefaulter {
 public:
  Prefaulter(uint8_t* memory, size_t size) : next_(memory), end_(memory + size) {}

  // All up to there is written next.
  void Reach(const uint8_t* end) {
    while (next_ < end) {
      uint8_t* const begin = next_;
      const size_t toBoundary =
          kHugePageBytes - reinterpret_cast<uintptr_t>(begin) % kHugePageBytes;
      next_ += std::min(toBoundary, static_cast<size_t>(end_ - begin));
      Prefault(begin, static_cast<size_t>(next_ - begin));
    }
  }

 private:
  uint8_t* next_;
  uint8_t* end_;
};

}  // namespace qrv

#endif  // PLATFORM_MEMORY_PREFAULT_H_
