// WebP files.
#ifndef CLI_WRITE_WEBP_H_
#define CLI_WRITE_WEBP_H_

#include "cli/image_file.h"
#include "cli/output_file.h"

namespace qrv::cli {

// A file has no more pixels a side.
constexpr int32_t kMaximumWebpSide = 16383;

// Writes the rows without losses, or with the losses of the quality where one is wanted. Throws
// Failure.
void WriteWebp(const Rows& rows, const Encoding& encoding, OutputFile& file);

}  // namespace qrv::cli

#endif  // CLI_WRITE_WEBP_H_
