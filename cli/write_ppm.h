// PPM files: uncompressed, without transparency.
#ifndef CLI_WRITE_PPM_H_
#define CLI_WRITE_PPM_H_

#include "cli/output_file.h"
#include "cli/progress.h"
#include "cli/rows.h"

namespace qrv::cli {

// Writes the rows' colours. Throws Failure.
void WritePpm(const Rows& rows, OutputFile& file, Progress& progress);

}  // namespace qrv::cli

#endif  // CLI_WRITE_PPM_H_
