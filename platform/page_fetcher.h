// Fetches the pages of memory that is about to be written from its start to its end: each just
// before it is written, while what the system has zeroed is in the cache.
#ifndef PLATFORM_PAGE_FETCHER_H_
#define PLATFORM_PAGE_FETCHER_H_

#include <QRV/Desktop.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace qrv {

class PageFetcher {
 public:
  PageFetcher(uint8_t* memory, size_t size) : next_(memory), end_(memory + size) {}

  // All up to there is written next.
  void Reach(const uint8_t* end) {
    while (next_ < end) {
      uint8_t* const begin = next_;
      const auto place = reinterpret_cast<uintptr_t>(begin);
      const size_t toBoundary = kLargePageBytes - place % kLargePageBytes;
      next_ += std::min(toBoundary, static_cast<size_t>(end_ - begin));
      FetchPages(begin, static_cast<size_t>(next_ - begin));
    }
  }

 private:
  uint8_t* next_;
  uint8_t* end_;
};

}  // namespace qrv

#endif  // PLATFORM_PAGE_FETCHER_H_
