// PNG files.
#ifndef CLI_WRITE_PNG_H_
#define CLI_WRITE_PNG_H_

#include "cli/image_file.h"
#include "cli/output_file.h"

namespace qrv::cli {

// Writes the rows as 8-bit RGB, or RGBA when they have transparency, with the time and, where there
// is more than one pixel a unit, the pixels per metre. Throws Failure.
void WritePng(const Rows& rows, const Encoding& encoding, OutputFile& file);

}  // namespace qrv::cli

#endif  // CLI_WRITE_PNG_H_
