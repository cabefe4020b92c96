// Writing pixels to memory that may never have been written before.
#ifndef PLATFORM_PAGE_FETCHER_H_
#define PLATFORM_PAGE_FETCHER_H_

#include <QRV/Desktop.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/pixels/rows.h"

namespace qrv {

// Fetches the pages of memory that is about to be written from its start to its end: each just
// before it is written, while what the system has zeroed is in the cache.
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

// Where rows of pixels are, and the bytes from one to the next.
template <typename Byte>
struct PixelRows {
  Byte* first;
  size_t rowBytes;
};

// Converts rows of `width` pixels, of four bytes each, to ones of `pixelBytes` each.
inline void ConvertRows(pixels::RowKernel convert, PixelRows<const uint8_t> source,
                        PixelRows<uint8_t> target, size_t pixelBytes, size_t width, size_t height) {
  // Rows that touch in both are one long row.
  constexpr size_t kAtOnce = size_t{64} << 10;  // bytes
  const size_t rowBytes = width * pixelBytes;
  const bool rowsTouch = source.rowBytes == width * 4 && target.rowBytes == rowBytes;
  const size_t step = rowsTouch ? 1 + kAtOnce / (rowBytes + 1) : 1;
  PageFetcher pages(target.first, (height - 1) * target.rowBytes + rowBytes);
  for (size_t row = 0; row < height; row += step) {
    const size_t count = std::min(step, height - row);
    uint8_t* const first = target.first + row * target.rowBytes;
    pages.Reach(first + (count - 1) * target.rowBytes + rowBytes);
    convert(source.first + row * source.rowBytes, first, count * width);
  }
}

}  // namespace qrv

#endif  // PLATFORM_PAGE_FETCHER_H_
