// A picture as an image file.
#ifndef CLI_IMAGE_FILE_H_
#define CLI_IMAGE_FILE_H_

#include <optional>
#include <string>

#include "cli/rows.h"

namespace qrv::cli {

enum class ImageFormat { kPng, kPpm };

// Writes the whole file or leaves what was there; "-" is standard output. `compression` is for PNG.
// Throws Failure.
void WriteImage(const Rows& rows, const std::string& path, ImageFormat format,
                std::optional<int> compression);

}  // namespace qrv::cli

#endif  // CLI_IMAGE_FILE_H_
