// Converting rows of pixels into memory that may be fresh.
#ifndef PLATFORM_PIXELS_CONVERT_ROWS_H_
#define PLATFORM_PIXELS_CONVERT_ROWS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/memory/prefault.h"
#include "platform/pixels/rows.h"

namespace qrv::pixels {

template <typename Byte>
struct PixelRows {
  Byte* first;
  size_t rowBytes;  // from one row to the next
};

// Converts rows of `width` pixels of four bytes each to rows of pixels of `pixelBytes` each.
inline void ConvertRows(RowKernel convert, PixelRows<const uint8_t> source,
                        PixelRows<uint8_t> target, size_t pixelBytes, size_t width, size_t height) {
  // Rows without gaps in both are joined.
  constexpr size_t kAtOnce = size_t{64} << 10;  // bytes
  const size_t rowBytes = width * pixelBytes;
  const bool rowsTouch = source.rowBytes == width * 4 && target.rowBytes == rowBytes;
  const size_t step = rowsTouch ? 1 + kAtOnce / (rowBytes + 1) : 1;
  Prefaulter pages(target.first, (height - 1) * target.rowBytes + rowBytes);
  for (size_t row = 0; row < height; row += step) {
    const size_t count = std::min(step, height - row);
    uint8_t* const first = target.first + row * target.rowBytes;
    pages.PrefaultUpTo(first + (count - 1) * target.rowBytes + rowBytes);
    convert(source.first + row * source.rowBytes, first, count * width);
  }
}

}  // namespace qrv::pixels

#endif  // PLATFORM_PIXELS_CONVERT_ROWS_H_
