#include "cli/png_strip.h"

#include <isa-l/igzip_lib.h>
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

constexpr int kDefaultLevel = 3;
constexpr int kFastLevels = 2;     // up to here ISA-L's matcher, beyond it zlib's
constexpr size_t kSampleStep = 8;  // rows
// ISA-L's matcher makes text a twentieth larger than zlib's level 3, in a tenth of the time. It is
// worth the time where that much remains: a strip that shrinks further is mostly plain.
constexpr size_t kPlainRatio = 32;

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

// Of photographs, once filtered, the only matches worth having are runs: looking for others takes
// twice as long for a larger file.
Bytes DeflateSmall(Bytes& filtered, int level, Filter filter, bool isLast) {
  constexpr int kRawDeflate = -15;  // no header, a window of 32 KiB
  constexpr int kMostMemory = 9;
  constexpr size_t kFlushBytes = 16;  // of an empty block and the bits before it
  z_stream stream = {};
  if (deflateInit2(&stream, level, Z_DEFLATED, kRawDeflate, kMostMemory,
                   filter == kAverage ? Z_RLE : Z_DEFAULT_STRATEGY) != Z_OK) {
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

Bytes DeflateFast(Bytes& filtered, bool isLast) {
  constexpr size_t kStep = size_t{1} << 16;
  Bytes tables(ISAL_DEF_LVL1_DEFAULT);
  const auto stream = std::make_unique<isal_zstream>();
  isal_deflate_init(stream.get());
  stream->level = 1;
  stream->level_buf = tables.data();
  stream->level_buf_size = static_cast<uint32_t>(tables.size());
  stream->flush = SYNC_FLUSH;
  stream->end_of_stream = isLast ? 1 : 0;
  stream->next_in = filtered.data();
  stream->avail_in = static_cast<uint32_t>(filtered.size());
  Bytes compressed(filtered.size() + kStep);
  size_t length = 0;
  while (true) {
    stream->next_out = compressed.data() + length;
    stream->avail_out = static_cast<uint32_t>(compressed.size() - length);
    isal_deflate(stream.get());
    length = compressed.size() - stream->avail_out;
    if (stream->avail_out > 0) break;
    compressed.resize(compressed.size() + kStep);
  }
  compressed.resize(length);
  return compressed;
}

Bytes Deflate(Bytes& filtered, Filter filter, std::optional<int> compression, bool isLast) {
  if (compression == 0 || compression > kFastLevels) {
    return DeflateSmall(filtered, *compression, filter, isLast);
  }
  Bytes compressed = DeflateFast(filtered, isLast);
  const bool isEnough =
      compression || filter == kAverage || compressed.size() * kPlainRatio < filtered.size();
  return isEnough ? compressed : DeflateSmall(filtered, kDefaultLevel, filter, isLast);
}

}  // namespace

PngStrip MakePngStrip(const Rows& rows, int32_t first, int32_t end,
                      std::optional<int> compression) {
  const Pixels pixels(rows, first, end);
  // Unfiltered bytes of windows and text repeat themselves most; of photographs the average filter
  // leaves the least noise.
  const Filter filter = compression == 0 || IsFlat(pixels) ? kNone : kAverage;
  Bytes filtered = FilterRows(pixels, filter);
  const uint32_t sum = isal_adler32(1, filtered.data(), filtered.size());
  return {Deflate(filtered, filter, compression, end == rows.height), sum, filtered.size()};
}

}  // namespace qrv::cli
