// What is said of a file that was written.
#ifndef CLI_COMMANDS_REPORT_H_
#define CLI_COMMANDS_REPORT_H_

#include <cstdio>
#include <string>
#include <string_view>

#include "cli/image/image_file.h"

namespace qrv::cli {

struct CaptureReport {
  std::string file;  // empty when there is none
  std::string desktop;
  std::string method;  // of the plug-in
  std::string strategy;
  double milliseconds;  // until the plug-in had the picture
};

// Text as a JSON string: valid UTF-8, with U+FFFD for each byte that is part of no character.
std::string JsonString(std::string_view text);

// Writes out what standard output has been given. Throws Failure.
void FlushReports();

// Where to report on a file: standard output, or standard error when the file itself goes there.
FILE* ReportStream(const std::string& output);

// ", as png" of a file whose name says something else, or nothing.
std::string FormatNote(const std::string& file, const Encoding& encoding);

// One line: the file, its size and what it shows.
void ReportImage(const std::string& file, const Rows& rows, const std::string& source,
                 FILE* stream);

// The same and more as JSON.
void ReportCapture(const CaptureReport& report, const Rows& rows, FILE* stream);

}  // namespace qrv::cli

#endif  // CLI_COMMANDS_REPORT_H_
