#include "cli/write_ppm.h"

#include <string>
#include <vector>

namespace qrv::cli {

void WritePpm(const Rows& rows, OutputFile& file, Progress& progress) {
  const std::string header =
      "P6\n" + std::to_string(rows.width) + " " + std::to_string(rows.height) + "\n255\n";
  if (!file.Write(header.data(), header.size())) {
    file.Fail();
  }
  std::vector<uint8_t> row(static_cast<size_t>(rows.width) * 4);
  for (int32_t y = 0; y < rows.height; ++y) {
    rows.read(y, row.data());
    PackRgb(row.data(), rows.width);
    if (!file.Write(row.data(), static_cast<size_t>(rows.width) * 3)) {
      file.Fail();
    }
    progress.Reach(y);
  }
}

}  // namespace qrv::cli
