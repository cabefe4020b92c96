#include "cli/image/png_strip.h"

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

void AverageRow(const uint8_t* row, const uint8_t* above, size_t rowBytes, size_t pixelBytes,
                uint8_t* filtered) {
  for (size_t i = 0; i < pixelBytes; ++i) filtered[i] = static_cast<uint8_t>(row[i] - above[i] / 2);
  for (size_t i = pixelBytes; i < rowBytes; ++i) {
    filtered[i] = static_cast<uint8_t>(row[i] - (row[i - pixelBytes] + above[i]) / 2);
  }
}

// The strip's rows, tightly packed, each behind the number of its filter, after the row above them;
// zeros above the first row. Not filtered yet.
class FilteredRows {
 public:
  FilteredRows(const Rows& rows, int32_t first, int32_t end)
      : pixelBytes_(rows.hasTransparency ? 4 : 3),
        rowBytes_(static_cast<size_t>(rows.width) * pixelBytes_),
        count_(static_cast<size_t>(end - first)),
        bytes_(std::make_unique_for_overwrite<uint8_t[]>((count_ + 1) * Stride())) {
    Bytes rgba(static_cast<size_t>(rows.width) * 4);
    if (first == 0) memset(bytes_.get(), 0, Stride());
    for (int32_t y = std::max(first - 1, 0); y < end; ++y) {
      rows.read(y, rgba.data());
      if (!rows.hasTransparency) PackRgb(rgba.data(), rows.width);
      uint8_t* const row = bytes_.get() + static_cast<size_t>(y - first + 1) * Stride();
      *row = kNone;
      memcpy(row + 1, rgba.data(), rowBytes_);
    }
  }

  // From the last row to the first, because each needs the one above as it was.
  void FilterAverage() {
    Bytes filtered(rowBytes_);
    for (size_t y = count_; y-- > 0;) {
      uint8_t* const row = bytes_.get() + (y + 1) * Stride();
      AverageRow(row + 1, row + 1 - Stride(), rowBytes_, pixelBytes_, filtered.data());
      *row = kAverage;
      memcpy(row + 1, filtered.data(), rowBytes_);
    }
  }

  size_t PixelBytes() const { return pixelBytes_; }
  size_t RowBytes() const { return rowBytes_; }
  size_t Count() const { return count_; }
  const uint8_t* Row(size_t index) const { return bytes_.get() + (index + 1) * Stride() + 1; }

  uint8_t* Data() const { return bytes_.get() + Stride(); }
  size_t Size() const { return count_ * Stride(); }

 private:
  size_t Stride() const { return rowBytes_ + 1; }

  size_t pixelBytes_;
  size_t rowBytes_;
  size_t count_;
  std::unique_ptr<uint8_t[]> bytes_;
};

// Whether most pixels are like the one to their left, as in windows and text.
bool IsFlat(const FilteredRows& rows) {
  const size_t pixelBytes = rows.PixelBytes();
  size_t alike = 0;
  size_t seen = 0;
  for (size_t y = 0; y < rows.Count(); y += kSampleStep) {
    const uint8_t* row = rows.Row(y);
    for (size_t x = pixelBytes; x < rows.RowBytes(); x += pixelBytes) {
      alike += memcmp(row + x, row + x - pixelBytes, 3) == 0 ? 1 : 0;
      ++seen;
    }
  }
  return alike * 2 >= seen;
}

// Of photographs, once filtered, the only matches worth having are runs: looking for others takes
// twice as long for a larger file.
Bytes DeflateSmall(const FilteredRows& rows, int level, Filter filter, bool isLast) {
  constexpr int kRawDeflate = -15;  // no header, a window of 32 KiB
  // Whenever the window moves on, zlib goes over its table, whose size this sets: half of the time
  // with the largest, for no smaller file.
  constexpr int kMemory = 7;
  constexpr size_t kFlushBytes = 16;  // of an empty block and the bits before it
  z_stream stream = {};
  if (deflateInit2(&stream, level, Z_DEFLATED, kRawDeflate, kMemory,
                   filter == kAverage ? Z_RLE : Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();
  }
  const std::unique_ptr<z_stream, decltype(&deflateEnd)> end(&stream, deflateEnd);
  Bytes compressed(deflateBound(&stream, static_cast<uLong>(rows.Size())) + kFlushBytes);
  stream.next_in = rows.Data();
  stream.avail_in = static_cast<uInt>(rows.Size());
  stream.next_out = compressed.data();
  stream.avail_out = static_cast<uInt>(compressed.size());
  deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
  compressed.resize(compressed.size() - stream.avail_out);
  return compressed;
}

Bytes DeflateFast(const FilteredRows& rows, bool isLast) {
  constexpr size_t kLeastBytes = 4096;
  const auto tables = std::make_unique_for_overwrite<uint8_t[]>(ISAL_DEF_LVL1_DEFAULT);
  const auto stream = std::make_unique_for_overwrite<isal_zstream>();
  isal_deflate_init(stream.get());
  stream->level = 1;
  stream->level_buf = tables.get();
  stream->level_buf_size = ISAL_DEF_LVL1_DEFAULT;
  stream->flush = SYNC_FLUSH;
  stream->end_of_stream = isLast ? 1 : 0;
  stream->next_in = rows.Data();
  stream->avail_in = static_cast<uint32_t>(rows.Size());
  Bytes compressed;
  do {
    const size_t length = compressed.size();
    compressed.resize(2 * length + rows.Size() / 16 + kLeastBytes);
    stream->next_out = compressed.data() + length;
    stream->avail_out = static_cast<uint32_t>(compressed.size() - length);
    isal_deflate(stream.get());
  } while (stream->avail_out == 0);
  compressed.resize(compressed.size() - stream->avail_out);
  return compressed;
}

Bytes Deflate(const FilteredRows& rows, Filter filter, std::optional<int> compression,
              bool isLast) {
  if (compression == 0 || compression > kFastLevels) {
    return DeflateSmall(rows, *compression, filter, isLast);
  }
  Bytes compressed = DeflateFast(rows, isLast);
  const bool isEnough =
      compression || filter == kAverage || compressed.size() * kPlainRatio < rows.Size();
  return isEnough ? compressed : DeflateSmall(rows, kDefaultLevel, filter, isLast);
}

}  // namespace

PngStrip MakePngStrip(const Rows& rows, int32_t first, int32_t end,
                      std::optional<int> compression) {
  FilteredRows filtered(rows, first, end);
  // Unfiltered bytes of windows and text repeat themselves most; of photographs the average filter
  // leaves the least noise.
  const Filter filter = compression == 0 || IsFlat(filtered) ? kNone : kAverage;
  if (filter == kAverage) filtered.FilterAverage();
  const uint32_t sum = isal_adler32(1, filtered.Data(), filtered.Size());
  return {Deflate(filtered, filter, compression, end == rows.height), sum, filtered.Size()};
}

}  // namespace qrv::cli
