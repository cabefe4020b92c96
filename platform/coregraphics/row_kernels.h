// Moves rows of opaque pixels between byte orders.
#ifndef PLATFORM_COREGRAPHICS_ROW_KERNELS_H_
#define PLATFORM_COREGRAPHICS_ROW_KERNELS_H_

#include <cstddef>
#include <cstdint>

#include "platform/coregraphics/pixel_layout.h"

namespace qrv::coregraphics {

// Reads `count` pixels of 4 bytes and writes as many, alpha 255 whatever the source's fourth byte
// holds. Neither pointer need be aligned; the rows don't overlap.
using RowKernel = void (*)(uint8_t* destination, const uint8_t* source, size_t count);

// The kernel between two orders; null for the destination order kBGRA, which no context has.
RowKernel OpaqueRowKernel(ByteOrder source, ByteOrder destination);

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_ROW_KERNELS_H_
