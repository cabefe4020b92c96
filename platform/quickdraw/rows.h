// Rows of pixels: the layouts in memory, and the conversion of a row from one to another.
#ifndef PLATFORM_QUICKDRAW_ROWS_H_
#define PLATFORM_QUICKDRAW_ROWS_H_

#include <cstddef>
#include <cstdint>
#include <optional>

namespace qrv::quickdraw {

// Bytes of a pixel, first in memory first. The order is that of the kernel tables.
enum class Layout {
  kGrey8,    // one grey level
  kRgb16,    // big-endian word, from the top: unused bit, 5 bits each of red, green, blue
  kRgb24,    // red, green, blue
  kArgb32,   // unused or alpha, red, green, blue
  kScreen32  // blue, green, red, unused: what a desktop captures; never a target
};

// The layout of a world of that depth, if worlds can have it.
std::optional<Layout> LayoutOfDepth(int depth);

size_t BytesPerPixel(Layout layout);

// Converts `count` pixels that follow one another. Source and target don't overlap. Between equal
// layouts pixels stay as they are, unused bits and alpha included; else a target's unused bits are
// 0.
using RowCopier = void (*)(const uint8_t* source, uint8_t* target, size_t count);
RowCopier RowCopierFor(Layout source, Layout target);

// Converts `count` pixels, of which number i comes from pixel `columns[i]` of the source row.
using RowPicker = void (*)(const uint8_t* source, const int32_t* columns, uint8_t* target,
                           size_t count);
RowPicker RowPickerFor(Layout source, Layout target);

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_ROWS_H_
