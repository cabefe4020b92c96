// Passes that fill a picture from rows of source pixels.
#ifndef PLUGIN_PICTURE_PIXEL_PASS_H_
#define PLUGIN_PICTURE_PIXEL_PASS_H_

#include "plugin/picture/picture_editor.h"
#include "plugin/picture/row_kernels.h"

namespace picture {

// Rows of pixels in memory, from the top row downward. Bottom-up buffers have a negative step. Gaps
// between rows are not read.
struct SourceRows {
  SourceLayout layout;
  const uint8_t* top;  // first pixel of the top row
  ptrdiff_t step;      // bytes from a row to the row below it
  int32_t width;       // pixels
  int32_t height;
};

// Writes the rows into the bound picture with their top-left pixel at column x of row y, neither
// negative, clipped to the picture.
void WriteRows(PictureWriter& writer, const SourceRows& source, int32_t x = 0, int32_t y = 0);

// Writes rows of premultiplied red, green, blue, alpha: opaque colours into one picture, and
// 255 - alpha as grey into the other. Both have the colour picture's pixel layout.
void WriteRowsWithMask(PictureWriter& colour, PictureWriter& mask, const SourceRows& source);

}  // namespace picture

#endif  // PLUGIN_PICTURE_PIXEL_PASS_H_
