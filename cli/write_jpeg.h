// JPEG files.
#ifndef CLI_WRITE_JPEG_H_
#define CLI_WRITE_JPEG_H_

#include "cli/image_file.h"
#include "cli/output_file.h"

namespace qrv::cli {

// Writes the rows without their transparency, in full colour resolution, so that text stays sharp.
// Throws Failure.
void WriteJpeg(const Rows& rows, const Encoding& encoding, OutputFile& file);

}  // namespace qrv::cli

#endif  // CLI_WRITE_JPEG_H_
