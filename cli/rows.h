// A picture as its rows, which is how image files are written.
#ifndef CLI_ROWS_H_
#define CLI_ROWS_H_

#include <cstdint>
#include <functional>

#include "host/host_types.h"

namespace qrv::cli {

struct Rows {
  int32_t width = 0;   // pixels
  int32_t height = 0;  // rows
  bool hasTransparency = false;
  // Stores row `y` as width x 4 bytes: red, green, blue, alpha (255 opaque).
  std::function<void(int32_t y, uint8_t* rgba)> read;
};

// The rows of a host picture, which must outlive them.
Rows RowsOf(const REALpictureStruct* picture);

// Drops the alpha of a row, in place: 3 bytes a pixel from its start.
void PackRgb(uint8_t* row, int32_t width);

}  // namespace qrv::cli

#endif  // CLI_ROWS_H_
