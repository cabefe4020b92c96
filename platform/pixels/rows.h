// Row kernels, which convert rows of pixels from one layout to another. A kernel is chosen once,
// before the loop over the rows; rows without gaps are joined into one.
#ifndef PLATFORM_PIXELS_ROWS_H_
#define PLATFORM_PIXELS_ROWS_H_

#include <cstddef>
#include <cstdint>

namespace qrv::pixels {

// Converts `count` consecutive pixels. Source and target don't overlap, and need no alignment.
using RowKernel = void (*)(const uint8_t* source, uint8_t* target, size_t count);

// --- Between pixels of four bytes ---

// In the order of memory. A is alpha or an unused byte.
enum class ByteOrder { kRGBA, kARGB, kBGRA };

// Keeps the colours, and the alpha if the source has one; else the target's is 255. `target` is not
// kBGRA, and a source in that order has no alpha.
RowKernel ReorderingKernel(ByteOrder source, ByteOrder target, bool hasAlpha);

// --- From the screen (blue, green, red, unused) to the pixels of QuickDraw's worlds ---

struct WorldLayout {
  int depth;
  size_t bytesPerPixel;
  RowKernel convert;
};

// The layout of a world of that depth, or null when there is none. Bytes of a pixel by depth:
//    8  one grey level
//   16  a big-endian word, from the top: an unused bit, 5 bits each of red, green, blue
//   24  red, green, blue
//   32  unused, red, green, blue
// Unused bits are written as 0.
const WorldLayout* FindWorldLayout(int depth);

}  // namespace qrv::pixels

#endif  // PLATFORM_PIXELS_ROWS_H_
