#include "cli/png_strip.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace qrv::cli {

namespace {

using Bytes = std::vector<uint8_t>;

// The numbers are those of the file format.
enum Filter : uint8_t { kNone = 0, kAverage = 3 };

// How a strip is stored. Measured at 3840 x 2160: of photographs the average filter leaves noise in
// which the only matches worth having are runs, and looking for others takes twice as long for a
// larger file; of windows and text unfiltered bytes repeat themselves most.
struct Deflation {
  Filter filter;
  int level;
  int strategy;
};

constexpr int kDefaultLevel = 3;
constexpr size_t kSampleStep = 8;  // rows

// The strip's pixels, tightly packed, after the row above it; zeros above the first row.
class Pixels {
 public:
  Pixels(const Rows& rows, int32_t first, int32_t end)
      : pixelBytes_(rows.hasTransparency ? 4 : 3),
        rowBytes_(static_cast<size_t>(rows.width) * pixelBytes_),
        count_(static_cast<size_t>(end - first)),
        bytes_((count_ + 1) * rowBytes_) {
    Bytes rgba(static_cast<size_t>(rows.width) * 4);
    for (int32_t y = std::max(first - 1, 0); y < end; ++y) {
      rows.read(y, rgba.data());
      if (!rows.hasTransparency) PackRgb(rgba.data(), rows.width);
      memcpy(bytes_.data() + static_cast<size_t>(y - first + 1) * rowBytes_, rgba.data(),
             rowBytes_);
    }
  }

  size_t PixelBytes() const { return pixelBytes_; }
  size_t RowBytes() const { return rowBytes_; }
  size_t Count() const { return count_; }
  const uint8_t* Row(size_t index) const { return bytes_.data() + (index + 1) * rowBytes_; }

 private:
  size_t pixelBytes_;
  size_t rowBytes_;
  size_t count_;
  Bytes bytes_;
};

// Whether most pixels are like the one to their left, as in windows and text.
bool IsFlat(const Pixels& pixels) {
  const size_t pixelBytes = pixels.PixelBytes();
  size_t alike = 0;
  size_t seen = 0;
  for (size_t y = 0; y < pixels.Count(); y += kSampleStep) {
    const uint8_t* row = pixels.Row(y);
    for (size_t x = pixelBytes; x < pixels.RowBytes(); x += pixelBytes) {
      alike += memcmp(row + x, row + x - pixelBytes, 3) == 0 ? 1 : 0;
      ++seen;
    }
  }
  return alike * 2 >= seen;
}

Deflation ChooseDeflation(const Pixels& pixels, std::optional<int> compression) {
  const int level = compression.value_or(kDefaultLevel);
  if (level == 0 || IsFlat(pixels)) return {kNone, level, Z_DEFAULT_STRATEGY};
  return {kAverage, level, Z_RLE};
}

void FilterAverage(const uint8_t* row, const uint8_t* above, size_t rowBytes, size_t pixelBytes,
                   uint8_t* filtered) {
  for (size_t i = 0; i < pixelBytes; ++i) filtered[i] = static_cast<uint8_t>(row[i] - above[i] / 2);
  for (size_t i = pixelBytes; i < rowBytes; ++i) {
    filtered[i] = static_cast<uint8_t>(row[i] - (row[i - pixelBytes] + above[i]) / 2);
  }
}

// Each row behind the number of its filter.
Bytes FilterRows(const Pixels& pixels, Filter filter) {
  const size_t rowBytes = pixels.RowBytes();
  Bytes filtered(pixels.Count() * (rowBytes + 1));
  uint8_t* target = filtered.data();
  for (size_t y = 0; y < pixels.Count(); ++y, target += rowBytes + 1) {
    const uint8_t* row = pixels.Row(y);
    target[0] = filter;
    if (filter == kAverage) {
      FilterAverage(row, row - rowBytes, rowBytes, pixels.PixelBytes(), target + 1);
    } else {
      memcpy(target + 1, row, rowBytes);
    }
  }
  return filtered;
}

Bytes Deflate(Bytes& filtered, const Deflation& deflation, bool isLast) {
  constexpr int kRawDeflate = -15;  // no header, a window of 32 KiB
  constexpr int kMostMemory = 9;
  constexpr size_t kFlushBytes = 16;  // of an empty block and the bits before it
  z_stream stream = {};
  if (deflateInit2(&stream, deflation.level, Z_DEFLATED, kRawDeflate, kMostMemory,
                   deflation.strategy) != Z_OK) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<z_stream, decltype(&deflateEnd)> end(&stream, deflateEnd);
  Bytes compressed(deflateBound(&stream, static_cast<uLong>(filtered.size())) + kFlushBytes);
  stream.next_in = filtered.data();
  stream.avail_in = static_cast<uInt>(filtered.size());
  stream.next_out = compressed.data();
  stream.avail_out = static_cast<uInt>(compressed.size());
  deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
  compressed.resize(compressed.size() - stream.avail_out);
  return compressed;
}

}  // namespace

PngStrip MakePngStrip(const Rows& rows, int32_t first, int32_t end,
                      std::optional<int> compression) {
  const Pixels pixels(rows, first, end);
  const Deflation deflation = ChooseDeflation(pixels, compression);
  Bytes filtered = FilterRows(pixels, deflation.filter);
  const uLong sum = adler32(1, filtered.data(), static_cast<uInt>(filtered.size()));
  return {Deflate(filtered, deflation, end == rows.height), static_cast<uint32_t>(sum),
          filtered.size()};
}

}  // namespace qrv::cli
