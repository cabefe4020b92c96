#include <string>
#include <vector>

#include "cli/image/image_file.h"
#include "cli/image/strips.h"
#include "runtime/host.h"

namespace qrv::cli {

namespace {

void Write(const Rows& rows, const Encoding& /*encoding*/, OutputFile& file) {
  const std::string header =
      "P6\n" + std::to_string(rows.width) + " " + std::to_string(rows.height) + "\n255\n";
  file.Write(header.data(), header.size());
  const size_t rowBytes = static_cast<size_t>(rows.width) * 3;
  Strips strips(rows.width, rows.height, [&](int32_t first, int32_t end) {
    // Of the last row there is the alpha, too.
    std::vector<uint8_t> packed(static_cast<size_t>(end - first) * rowBytes +
                                static_cast<size_t>(rows.width));
    for (int32_t y = first; y < end; ++y) {
      uint8_t* const row = &packed[static_cast<size_t>(y - first) * rowBytes];
      rows.read(y, row);
      PackRgb(row, rows.width);
    }
    packed.resize(static_cast<size_t>(end - first) * rowBytes);
    return packed;
  });
  for (size_t done = 0; !strips.IsDone();) {
    const std::vector<uint8_t> packed = strips.Take();
    file.Write(packed.data(), packed.size());
    file.ShowProgress(static_cast<int64_t>(done += packed.size()),
                      static_cast<int64_t>(rowBytes) * rows.height);
  }
}

}  // namespace

// Uncompressed, without transparency.
extern const ImageFormat kPpm = {"ppm", false, false, kMaxPictureSide, Write};

}  // namespace qrv::cli
