#include "plugin/picture/pixel_pass.h"

namespace picture {
namespace {

int32_t Min(int32_t a, int32_t b) { return a < b ? a : b; }

// True when the picture's rows from `first` on, taken as `width` pixels each, have no gaps between
// them.
bool RowsTouch(const PictureWriter& writer, int32_t first, int32_t width, int32_t rows) {
  const ptrdiff_t bytes = static_cast<ptrdiff_t>(width) * 4;
  for (int32_t y = first + 1; y < first + rows; ++y) {
    if (writer.RowStart(y) - writer.RowStart(y - 1) != bytes) return false;
  }
  return true;
}

}  // namespace

void WriteRows(PictureWriter& writer, const SourceRows& source, int32_t x, int32_t y) {
  const int32_t width = Min(source.width, writer.width - x);
  const int32_t height = Min(source.height, writer.height - y);
  if (width < 1 || height < 1) return;
  const auto pixels = static_cast<size_t>(width);
  const size_t allPixels = pixels * static_cast<size_t>(height);
  const RowKernel kernel = ChooseRowKernel(source.layout, writer.pixelFormat, allPixels);
  if (kernel == nullptr) return;

  const auto sourceRow = static_cast<ptrdiff_t>(pixels * BytesPerPixel(source.layout));
  const ptrdiff_t left = static_cast<ptrdiff_t>(x) * writer.bytesPerPixel;
  if (source.step == sourceRow && RowsTouch(writer, y, width, height)) {
    kernel(source.top, writer.RowStart(y) + left, allPixels);
    FinishRows();
    return;
  }
  // In the source's order in memory, because the processor prefetches what is read; writes need not
  // be waited for.
  for (int32_t i = 0; i < height; ++i) {
    const int32_t r = source.step < 0 ? height - 1 - i : i;
    kernel(source.top + r * source.step, writer.RowStart(y + r) + left, pixels);
  }
  FinishRows();
}

void WriteRowsWithMask(PictureWriter& colour, PictureWriter& mask, const SourceRows& source) {
  const MaskRowKernel kernel = ChooseMaskRowKernel(colour.pixelFormat);
  const int32_t width = Min(source.width, Min(colour.width, mask.width));
  const int32_t height = Min(source.height, Min(colour.height, mask.height));
  if (kernel == nullptr || width < 1 || height < 1) return;

  const auto pixels = static_cast<size_t>(width);
  if (source.step == static_cast<ptrdiff_t>(pixels * 4) &&
      RowsTouch(colour, colour.row, width, height) && RowsTouch(mask, mask.row, width, height)) {
    kernel(source.top, colour.cursor, mask.cursor, pixels * static_cast<size_t>(height));
    return;
  }
  const uint8_t* row = source.top;
  for (int32_t r = 0; r < height; ++r, row += source.step) {
    kernel(row, colour.cursor, mask.cursor, pixels);
    colour.NextRow();
    mask.NextRow();
  }
}

}  // namespace picture
