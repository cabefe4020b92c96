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
  Existing existing;  // a name that nobody asked for replaces nothing
};

// The file's name: the output as the user gave it, or one by date and time, in the folder that the
// output is. `number` counts the files of a series from 1.
FileName ChooseFileName(const Arguments& arguments, int32_t number);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_FILE_NAMES_H_
