#include "cli/image/image_file.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <vector>

#include "cli/failure.h"
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

}  // namespace

Rows RowsOf(const SharedPicture& picture) {
  using runtime::Host;
  Rows rows{Host::Width(picture.get()), Host::Height(picture.get()), false,
            [picture](int32_t y, uint8_t* rgba) { Host::ReadRow(picture.get(), y, rgba); }};
  rows.hasTransparency = Host::MayBeTransparent(picture.get()) && HasTransparency(rows);
  return rows;
}

// Each pixel is moved in one piece; the next one covers its alpha.
void PackRgb(uint8_t* row, int32_t width) {
  const uint8_t* source = row;
  uint8_t* target = row;
  for (int32_t x = 0; x < width; ++x, source += 4, target += 3) {
    uint32_t pixel = 0;
    memcpy(&pixel, source, sizeof pixel);
    memcpy(target, &pixel, sizeof pixel);
  }
}

std::vector<std::string> ImageFormatNames() {
  std::vector<std::string> names;
  for (const ImageFormat* each : kImageFormats) names.emplace_back(each->name);
  return names;
}

const ImageFormat* FindImageFormat(std::string_view name) {
  for (const ImageFormat* each : kImageFormats) {
    if (strcasecmp(each->name, std::string(name).c_str()) == 0) return each;
  }
  return nullptr;
}

std::string WriteImage(const Rows& rows, const Encoding& encoding, const std::string& path,
                       Existing existing) {
  const ImageFormat& format = *encoding.format;
  if (std::max(rows.width, rows.height) > format.maximumSide) {
    throw Failure(kNothingCaptured, "A " + std::string(format.name) + " file has " +
                                        std::to_string(format.maximumSide) +
                                        " pixels a side at most, and these are " +
                                        std::to_string(rows.width) + "x" +
                                        std::to_string(rows.height) + ". Choose another format.");
  }
  OutputFile file(path, existing);
  format.write(rows, encoding, file);
  file.Commit();
  return file.Name();
}

const char kSoftware[] = "qrvshot " QRV_VERSION;

std::string LocalTime() {
  const time_t now = time(nullptr);
  tm parts = {};
  char text[64];
  const size_t length = strftime(text, sizeof text, "%FT%T%z", localtime_r(&now, &parts));
  return std::string(text).insert(length - 2, ":");
}

}  // namespace qrv::cli
