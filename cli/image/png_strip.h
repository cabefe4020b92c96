// A strip of a PNG's rows, filtered and compressed by itself, so that strips can be made at the
// same time.
#ifndef CLI_IMAGE_PNG_STRIP_H_
#define CLI_IMAGE_PNG_STRIP_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "cli/image/image_file.h"

namespace qrv::cli {

struct PngStrip {
  // Deflate blocks that end on a whole byte. Those of all strips, one after the other, are one
  // stream; that of the last strip ends it.
  std::vector<uint8_t> compressed;
  uint32_t adler32;  // of the filtered rows alone
  size_t length;     // of the filtered rows, in bytes
};

// Makes the strip of rows `first` ... `end` - 1 as 8-bit RGB, or RGBA when the rows have
// transparency. `compression` is 0 to 9; nothing: what suits screenshots. Throws std::bad_alloc.
PngStrip MakePngStrip(const Rows& rows, int32_t first, int32_t end, std::optional<int> compression);

}  // namespace qrv::cli

#endif  // CLI_IMAGE_PNG_STRIP_H_
