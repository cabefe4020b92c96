// Names of image files.
#ifndef CLI_CAPTURE_FILE_NAMES_H_
#define CLI_CAPTURE_FILE_NAMES_H_

#include <cstdint>
#include <string>

#include "cli/arguments.h"
#include "cli/output/output_file.h"

namespace qrv::cli {

struct FileName {
  std::string path;
  Existing existing;
};

// The file's name: the output as the user gave it, with the sequences of strftime and %03d
// replaced, or one by date and time, in the folder that the output is; without one in $QRV_FOLDER,
// $XDG_PICTURES_DIR or the working directory. `number` counts the files of a series from 1; %03d is
// the first free one outside of a series.
FileName ChooseFileName(const Arguments& arguments, int32_t number);

// The format that a file's name ends in; null for none.
const ImageFormat* FormatOfName(const std::string& path);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_FILE_NAMES_H_
