#include "cli/image_file.h"

#include <vector>

#include "cli/output_file.h"
#include "cli/write_png.h"
#include "runtime/host.h"

namespace qrv::cli {

namespace {

bool IsOpaque(const std::vector<uint8_t>& row) {
  uint8_t alpha = 255;
  for (size_t index = 3; index < row.size(); index += 4) alpha &= row[index];
  return alpha == 255;
}

bool HasTransparency(const Rows& rows) {
  std::vector<uint8_t> row(static_cast<size_t>(rows.width) * 4);
  for (int32_t y = 0; y < rows.height; ++y) {
    rows.read(y, row.data());
    if (!IsOpaque(row)) return true;
  }
  return false;
}

// Uncompressed, without transparency.
void WritePpm(const Rows& rows, OutputFile& file) {
  const std::string header =
      "P6\n" + std::to_string(rows.width) + " " + std::to_string(rows.height) + "\n255\n";
  file.Write(header.data(), header.size());
  std::vector<uint8_t> row(static_cast<size_t>(rows.width) * 4);
  for (int32_t y = 0; y < rows.height; ++y) {
    rows.read(y, row.data());
    PackRgb(row.data(), rows.width);
    file.Write(row.data(), static_cast<size_t>(rows.width) * 3);
    file.ShowProgress(y, rows.height);
  }
}

}  // namespace

Rows RowsOf(const REALpictureStruct* picture) {
  using runtime::Host;
  Rows rows{Host::Width(picture), Host::Height(picture), false,
            [picture](int32_t y, uint8_t* rgba) { Host::ReadRow(picture, y, rgba); }};
  rows.hasTransparency = Host::MayBeTransparent(picture) && HasTransparency(rows);
  return rows;
}

void PackRgb(uint8_t* row, int32_t width) {
  const uint8_t* source = row;
  uint8_t* target = row;
  for (int32_t x = 0; x < width; ++x, source += 4, target += 3) {
    target[0] = source[0];
    target[1] = source[1];
    target[2] = source[2];
  }
}

void WriteImage(const Rows& rows, const std::string& path, ImageFormat format,
                std::optional<int> compression) {
  OutputFile file(path);
  if (format == ImageFormat::kPng) {
    WritePng(rows, compression, file);
  } else {
    WritePpm(rows, file);
  }
  file.Commit();
}

void ReportImage(const std::string& path, const Rows& rows, const std::string& source) {
  const std::string name = path == "-" ? "standard output" : path;
  fprintf(ReportStream(path), "%s: %dx%d pixels of %s\n", name.c_str(), rows.width, rows.height,
          source.c_str());
}

}  // namespace qrv::cli
