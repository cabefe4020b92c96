// Prefaulting memory that is about to be written. Page faults are most of the cost of a picture
// that is written once.
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

// Has the system map the pages of the memory, as huge pages where whole ones fit. Changes neither
// the content nor errno. Where it fails, the memory faults when it is written.
void Prefault(void* memory, size_t size) noexcept;

// Prefaults memory that is written from start to end, each huge page just before it is written, so
// that the page is still in the cache after the system has zeroed it.
class Prefaulter {
 public:
  Prefaulter(uint8_t* memory, size_t size) : next_(memory), end_(memory + size) {}

  // Call before the memory up to `end` is written.
  void PrefaultUpTo(const uint8_t* end) {
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
