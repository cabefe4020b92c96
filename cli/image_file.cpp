#include "cli/image_file.h"

#include "cli/output_file.h"
#include "cli/progress.h"
#include "cli/write_png.h"
#include "cli/write_ppm.h"

namespace qrv::cli {

void WriteImage(const Rows& rows, const std::string& path, ImageFormat format,
                std::optional<int> compression) {
  OutputFile file(path);
  Progress progress(path, rows.height);
  if (format == ImageFormat::kPng) {
    WritePng(rows, compression, file, progress);
  } else {
    WritePpm(rows, file, progress);
  }
  file.Commit();
}

}  // namespace qrv::cli
