// PNG files.
#ifndef CLI_WRITE_PNG_H_
#define CLI_WRITE_PNG_H_

#include <optional>

#include "cli/image_file.h"
#include "cli/output_file.h"

namespace qrv::cli {

// Writes the rows as 8-bit RGB, or RGBA when they have transparency. `compression` is 0 (none) to 9
// (smallest file); nothing: what suits screenshots. Throws Failure.
void WritePng(const Rows& rows, std::optional<int> compression, OutputFile& file);

}  // namespace qrv::cli

#endif  // CLI_WRITE_PNG_H_
