#include "cli/report.h"

#include "cli/terminal.h"

namespace qrv::cli {

std::string JsonString(const std::string& text) {
  std::string quoted = "\"";
  for (const char each : text) {
    if (each == '"' || each == '\\') {
      quoted += std::string("\\") + each;
    } else if (static_cast<unsigned char>(each) < ' ') {
      char escaped[8];
      snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(each));
      quoted += escaped;
    } else {
      quoted += each;
    }
  }
  return quoted + '"';
}

FILE* ReportStream(const std::string& output) { return output == "-" ? stderr : stdout; }

void ReportImage(const std::string& file, const Rows& rows, const std::string& source,
                 FILE* stream) {
  if (IsQuiet()) return;
  fprintf(stream, "%s: %dx%d pixels of %s\n", Emphasised(stream, Emphasis::kBold, file).c_str(),
          rows.width, rows.height, source.c_str());
}

void ReportCapture(const CaptureReport& report, const Rows& rows, FILE* stream) {
  fprintf(stream,
          "{\"file\": %s, \"width\": %d, \"height\": %d, \"desktop\": %s, \"method\": %s, "
          "\"strategy\": %s, \"milliseconds\": %.1f}\n",
          report.file.empty() ? "null" : JsonString(report.file).c_str(), rows.width, rows.height,
          JsonString(report.desktop).c_str(), JsonString(report.method).c_str(),
          JsonString(report.strategy).c_str(), report.milliseconds);
}

}  // namespace qrv::cli
