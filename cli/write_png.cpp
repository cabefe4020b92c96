#include "cli/write_png.h"

#include <isa-l/crc.h>
#include <time.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <deque>
#include <future>
#include <thread>
#include <vector>

#include "cli/png_strip.h"

namespace qrv::cli {

namespace {

// Large enough that strips lose nothing by not knowing one another, small enough that even a small
// picture keeps every processor busy.
constexpr int64_t kStripPixels = int64_t{1} << 17;

using Word = std::array<uint8_t, 4>;

Word BigEndian(uint32_t value) {
  return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
          static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

void WriteChunk(OutputFile& file, const char* type, const std::vector<uint8_t>& data) {
  constexpr size_t kTypeLength = 4;
  uint32_t sum = crc32_gzip_refl(0, reinterpret_cast<const uint8_t*>(type), kTypeLength);
  sum = crc32_gzip_refl(sum, data.data(), data.size());
  file.Write(BigEndian(static_cast<uint32_t>(data.size())).data(), sizeof(Word));
  file.Write(type, kTypeLength);
  file.Write(data.data(), data.size());
  file.Write(BigEndian(sum).data(), sizeof(Word));
}

void Append(std::vector<uint8_t>& data, uint32_t value) {
  const Word bytes = BigEndian(value);
  data.insert(data.end(), bytes.begin(), bytes.end());
}

void WriteHeader(OutputFile& file, const Rows& rows) {
  constexpr char kSignature[] = "\x89PNG\r\n\x1a\n";
  constexpr uint8_t kBitsPerSample = 8;
  constexpr uint8_t kRgb = 2;
  constexpr uint8_t kRgba = 6;
  file.Write(kSignature, sizeof kSignature - 1);
  std::vector<uint8_t> header;
  Append(header, static_cast<uint32_t>(rows.width));
  Append(header, static_cast<uint32_t>(rows.height));
  // The zeros: deflate, the usual filters, not interlaced.
  const uint8_t colorType = rows.hasTransparency ? kRgba : kRgb;
  header.insert(header.end(), {kBitsPerSample, colorType, 0, 0, 0});
  WriteChunk(file, "IHDR", header);
}

void WriteTime(OutputFile& file) {
  const time_t now = time(nullptr);
  tm parts = {};
  gmtime_r(&now, &parts);
  std::vector<uint8_t> data = {static_cast<uint8_t>((parts.tm_year + 1900) >> 8),
                               static_cast<uint8_t>(parts.tm_year + 1900)};
  for (const int part :
       {parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec}) {
    data.push_back(static_cast<uint8_t>(part));
  }
  WriteChunk(file, "tIME", data);
}

// A unit is a 96th of an inch.
void WriteDensity(OutputFile& file, double density) {
  constexpr double kUnitsPerMetre = 96 / 0.0254;
  constexpr uint8_t kMetre = 1;
  const auto pixels = static_cast<uint32_t>(std::lround(density * kUnitsPerMetre));
  std::vector<uint8_t> data;
  Append(data, pixels);  // along rows, and down
  Append(data, pixels);
  data.push_back(kMetre);
  WriteChunk(file, "pHYs", data);
}

// The strips of a picture in order, made ahead on every processor.
class StripMaker {
 public:
  StripMaker(const Rows& rows, std::optional<int> compression)
      : rows_(rows),
        compression_(compression),
        stripRows_(static_cast<int32_t>(std::max<int64_t>(kStripPixels / rows.width, 1))) {
    const unsigned ahead = std::max(std::thread::hardware_concurrency(), 1U) + 1;
    while (pending_.size() < ahead && started_ < rows_.height) StartNext();
  }

  bool IsDone() const { return pending_.empty(); }

  PngStrip Take() {
    PngStrip strip = pending_.front().get();
    pending_.pop_front();
    if (started_ < rows_.height) StartNext();
    return strip;
  }

 private:
  // Without a thread to be had the strip is made when it is taken, as is the only strip of a small
  // picture, which takes less time than to start a thread.
  void StartNext() {
    const int32_t first = started_;
    started_ += std::min(stripRows_, rows_.height - first);
    const auto policy = stripRows_ >= rows_.height ? std::launch::deferred
                                                   : std::launch::async | std::launch::deferred;
    pending_.push_back(std::async(policy, [this, first, end = started_] {
      return MakePngStrip(rows_, first, end, compression_);
    }));
  }

  const Rows& rows_;
  std::optional<int> compression_;
  int32_t stripRows_;
  int32_t started_ = 0;  // rows
  std::deque<std::future<PngStrip>> pending_;
};

// One zlib stream over all strips, in one chunk a strip.
void WriteStrips(OutputFile& file, const Rows& rows, std::optional<int> compression) {
  constexpr uint8_t kZlibHeader[] = {0x78, 0x01};
  StripMaker strips(rows, compression);
  uLong sum = 1;
  int64_t done = 0;  // bytes of filtered rows
  const int64_t rowLength = int64_t{rows.width} * (rows.hasTransparency ? 4 : 3) + 1;
  for (bool isFirst = true; !strips.IsDone(); isFirst = false) {
    PngStrip strip = strips.Take();
    std::vector<uint8_t>& data = strip.compressed;
    sum = adler32_combine(sum, strip.adler32, static_cast<z_off_t>(strip.length));
    if (isFirst) data.insert(data.begin(), std::begin(kZlibHeader), std::end(kZlibHeader));
    if (strips.IsDone()) {
      Append(data, static_cast<uint32_t>(sum));
    }
    WriteChunk(file, "IDAT", data);
    done += static_cast<int64_t>(strip.length);
    file.ShowProgress(done, rowLength * rows.height);
  }
}

}  // namespace

void WritePng(const Rows& rows, const Encoding& encoding, OutputFile& file) {
  WriteHeader(file, rows);
  WriteTime(file);
  if (rows.density != 1) WriteDensity(file, rows.density);
  WriteStrips(file, rows, encoding.compression);
  WriteChunk(file, "IEND", {});
}

}  // namespace qrv::cli
