#include "cli/commands/report.h"

#include <errno.h>
#include <string.h>

#include <algorithm>

#include "cli/capture/file_names.h"
#include "cli/failure.h"
#include "cli/output/terminal.h"
#include "platform/one_line.h"

namespace qrv::cli {

std::string JsonString(std::string_view text) {
  std::string quoted = "\"";
  while (!text.empty()) {
    const auto [code, bytes] = FirstOf(text);
    const std::string_view character = text.substr(0, std::max<size_t>(bytes, 1));
    text.remove_prefix(character.size());
    if (bytes == 0) {
      quoted += "\uFFFD";
    } else if (code < ' ' || (code >= 0x7F && code <= 0x9F)) {
      char escaped[8];
      snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(code));
      quoted += escaped;
    } else {
      if (code == '"' || code == '\\') quoted += '\\';
      quoted += character;
    }
  }
  return quoted + '"';
}

FILE* ReportStream(const std::string& output) { return IsStandardOutput(output) ? stderr : stdout; }

void FlushReports() {
  if (fflush(stdout) == 0 && ferror(stdout) == 0) return;
  const std::string reason = strerror(errno);
  throw Failure(kCouldNotReadOrWrite,
                "standard output could not be written: " + reason + ". Send it somewhere else.");
}

std::string FormatNote(const std::string& file, const Encoding& encoding) {
  const ImageFormat* const named = FormatOfName(file);
  const bool isNamed = named != nullptr && named->write == encoding.format->write;
  return isNamed || IsStandardOutput(file) ? "" : ", as " + std::string(encoding.format->name);
}

void ReportImage(const std::string& file, const Rows& rows, const std::string& source,
                 FILE* stream) {
  if (IsQuiet()) return;
  PrintLine(stream, Emphasis::kBold, file,
            ": " + std::to_string(rows.width) + "x" + std::to_string(rows.height) + " pixels of " +
                source);
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
