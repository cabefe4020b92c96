#include "cli/report.h"

namespace qrv::cli {

FILE* WordsBeside(const std::string& output) { return output == "-" ? stderr : stdout; }

void ReportImage(const std::string& output, const Rows& rows, const std::string& source) {
  const std::string name = output == "-" ? "standard output" : output;
  fprintf(WordsBeside(output), "%s: %dx%d pixels of %s\n", name.c_str(), rows.width, rows.height,
          source.c_str());
}

}  // namespace qrv::cli
