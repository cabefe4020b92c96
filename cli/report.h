// What a command that writes a file tells its user.
#ifndef CLI_REPORT_H_
#define CLI_REPORT_H_

#include <cstdio>
#include <string>

#include "cli/rows.h"

namespace qrv::cli {

// Where words go: standard output, or standard error when the file itself goes there.
FILE* WordsBeside(const std::string& output);

// One line: the file, its size and what it shows.
void ReportImage(const std::string& output, const Rows& rows, const std::string& source);

}  // namespace qrv::cli

#endif  // CLI_REPORT_H_
