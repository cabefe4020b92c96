// Row kernels: the inner loops of every pixel pass. A kernel converts a run of pixels from one
// memory layout to another; it is chosen once per picture, from one table.
//
// All kernels accept any alignment. Source and destination must not overlap.
#ifndef PLUGIN_PICTURE_ROW_KERNELS_H_
#define PLUGIN_PICTURE_ROW_KERNELS_H_

#include <stddef.h>
#include <stdint.h>

namespace picture {

// The bytes of a source pixel, in the order of memory.
enum class SourceLayout {
  kSkipRgb,           // unused, red, green, blue
  kBgrSkip,           // blue, green, red, unused
  kAlphaRgb,          // alpha, red, green, blue: the alpha is kept
  kRgb,               // red, green, blue
  kGrey,              // one grey level
  kPremultipliedRgba  // red, green, blue multiplied by alpha, alpha: becomes unmultiplied and
                      // opaque
};

// Converts `pixels` pixels.
using RowKernel = void (*)(const uint8_t* source, uint8_t* destination, size_t pixels);

// Converts `pixels` premultiplied red, green, blue, alpha pixels to opaque colours in one row and
// to 255 - alpha as an opaque grey level in another.
using MaskRowKernel = void (*)(const uint8_t* source, uint8_t* colour, uint8_t* mask,
                               size_t pixels);

size_t BytesPerPixel(SourceLayout layout);

// The kernel that writes so many pixels in all into a picture of that `pixelFormat`; null when the
// format is unsupported. It may store a large picture past the cache: call FinishRows before other
// threads may read the picture.
RowKernel ChooseRowKernel(SourceLayout layout, int32_t pixelFormat, size_t pixels);
void FinishRows();
MaskRowKernel ChooseMaskRowKernel(int32_t pixelFormat);

}  // namespace picture

#endif  // PLUGIN_PICTURE_ROW_KERNELS_H_
