#include "cli/image/image_file.h"

#include <isa-l/crc.h>
#include <time.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "cli/image/png_strip.h"
#include "cli/image/strips.h"

namespace qrv::cli {

namespace {

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

void WriteText(OutputFile& file, const std::string& keyword, const std::string& text) {
  std::vector<uint8_t> data(keyword.begin(), keyword.end());
  data.push_back(0);
  data.insert(data.end(), text.begin(), text.end());
  WriteChunk(file, "tEXt", data);
}

// The time is UTC in its chunk, and local with its offset as text.
void WriteOrigin(OutputFile& file) {
  constexpr uint8_t kPerceptual = 0;
  WriteChunk(file, "sRGB", {kPerceptual});
  WriteText(file, "Software", kSoftware);
  WriteText(file, "Creation Time", LocalTime());
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

void WriteDensity(OutputFile& file, double density) {
  constexpr double kUnitsPerMetre = kDotsPerInch / 0.0254;
  constexpr uint8_t kMetre = 1;
  const auto pixels = static_cast<uint32_t>(std::lround(density * kUnitsPerMetre));
  std::vector<uint8_t> data;
  Append(data, pixels);  // along rows, and down
  Append(data, pixels);
  data.push_back(kMetre);
  WriteChunk(file, "pHYs", data);
}

// One zlib stream over all strips, in one chunk a strip.
void WriteStrips(OutputFile& file, const Rows& rows, std::optional<int> compression) {
  constexpr uint8_t kZlibHeader[] = {0x78, 0x01};
  Strips strips(rows.width, rows.height, [&](int32_t first, int32_t end) {
    return MakePngStrip(rows, first, end, compression);
  });
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

void Write(const Rows& rows, const Encoding& encoding, OutputFile& file) {
  WriteHeader(file, rows);
  WriteOrigin(file);
  if (rows.density != 1) WriteDensity(file, rows.density);
  WriteStrips(file, rows, encoding.compression);
  WriteChunk(file, "IEND", {});
}

}  // namespace

// 8-bit RGB, or RGBA when the rows have transparency, with the time and, where there is more than
// one pixel a unit, the pixels per metre.
const ImageFormat kPng = {"png", true, false, kMaxPictureSide, Write};

}  // namespace qrv::cli
