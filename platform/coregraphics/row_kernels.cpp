#include "platform/coregraphics/row_kernels.h"

#include <cstring>

#include "platform/coregraphics/vector_clones.h"

namespace qrv::coregraphics {
namespace {

// Pixels as little-endian words: the first byte in memory is the lowest.
constexpr uint32_t kAlphaLast = 0xFF000000U;
constexpr uint32_t kAlphaFirst = 0x000000FFU;

template <typename Convert>
[[gnu::always_inline]] inline void ConvertRow(uint8_t* __restrict destination,
                                              const uint8_t* __restrict source, size_t count,
                                              Convert convert) {
  for (size_t i = 0; i < count; ++i) {
    uint32_t pixel;
    memcpy(&pixel, source + i * 4, 4);
    pixel = convert(pixel);
    memcpy(destination + i * 4, &pixel, 4);
  }
}

QRV_VECTOR_CLONES void RgbaToRgba(uint8_t* destination, const uint8_t* source, size_t count) {
  ConvertRow(destination, source, count, [](uint32_t pixel) { return pixel | kAlphaLast; });
}

QRV_VECTOR_CLONES void RgbaToArgb(uint8_t* destination, const uint8_t* source, size_t count) {
  ConvertRow(destination, source, count, [](uint32_t pixel) { return pixel << 8 | kAlphaFirst; });
}

QRV_VECTOR_CLONES void ArgbToRgba(uint8_t* destination, const uint8_t* source, size_t count) {
  ConvertRow(destination, source, count, [](uint32_t pixel) { return pixel >> 8 | kAlphaLast; });
}

QRV_VECTOR_CLONES void ArgbToArgb(uint8_t* destination, const uint8_t* source, size_t count) {
  ConvertRow(destination, source, count, [](uint32_t pixel) { return pixel | kAlphaFirst; });
}

QRV_VECTOR_CLONES void BgraToRgba(uint8_t* destination, const uint8_t* source, size_t count) {
  ConvertRow(destination, source, count,
             [](uint32_t pixel) { return __builtin_bswap32(pixel) >> 8 | kAlphaLast; });
}

QRV_VECTOR_CLONES void BgraToArgb(uint8_t* destination, const uint8_t* source, size_t count) {
  ConvertRow(destination, source, count,
             [](uint32_t pixel) { return __builtin_bswap32(pixel) | kAlphaFirst; });
}

}  // namespace

RowKernel OpaqueRowKernel(ByteOrder source, ByteOrder destination) {
  static constexpr RowKernel kKernels[3][3] = {
      {RgbaToRgba, RgbaToArgb, nullptr},
      {ArgbToRgba, ArgbToArgb, nullptr},
      {BgraToRgba, BgraToArgb, nullptr},
  };
  return kKernels[static_cast<size_t>(source)][static_cast<size_t>(destination)];
}

}  // namespace qrv::coregraphics
