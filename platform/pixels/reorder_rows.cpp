#include <bit>
#include <cstring>

#include "platform/pixels/rows.h"
#include "platform/pixels/target_clones.h"

namespace qrv::pixels {
namespace {

// Pixels as words: the first byte in memory is the lowest.
static_assert(std::endian::native == std::endian::little);
constexpr uint32_t kAlphaLast = 0xFF000000U;
constexpr uint32_t kAlphaFirst = 0x000000FFU;

template <typename Convert>
[[gnu::always_inline]] inline void ConvertRow(const uint8_t* __restrict source,
                                              uint8_t* __restrict target, size_t count,
                                              Convert convert) {
  for (size_t i = 0; i < count; ++i) {
    uint32_t pixel;
    memcpy(&pixel, source + i * 4, 4);
    pixel = convert(pixel);
    memcpy(target + i * 4, &pixel, 4);
  }
}

// Clones can't be made of templates.
#define QRV_ROW_KERNEL(name, converted)                                                      \
  QRV_TARGET_CLONES void name(const uint8_t* source, uint8_t* target, size_t count) {        \
    ConvertRow(source, target, count, [](uint32_t pixel) -> uint32_t { return converted; }); \
  }

QRV_ROW_KERNEL(RgbxToRgba, pixel | kAlphaLast)
QRV_ROW_KERNEL(RgbxToArgb, pixel << 8 | kAlphaFirst)
QRV_ROW_KERNEL(XrgbToRgba, pixel >> 8 | kAlphaLast)
QRV_ROW_KERNEL(XrgbToArgb, pixel | kAlphaFirst)
QRV_ROW_KERNEL(BgrxToRgba, __builtin_bswap32(pixel) >> 8 | kAlphaLast)
QRV_ROW_KERNEL(BgrxToArgb, __builtin_bswap32(pixel) | kAlphaFirst)
QRV_ROW_KERNEL(RgbaToArgb, std::rotl(pixel, 8))
QRV_ROW_KERNEL(ArgbToRgba, std::rotr(pixel, 8))

void Copy(const uint8_t* source, uint8_t* target, size_t count) {
  memcpy(target, source, count * 4);
}

}  // namespace

RowKernel ReorderingKernel(ByteOrder source, ByteOrder target, bool hasAlpha) {
  static constexpr RowKernel kOpaque[][2] = {
      {RgbxToRgba, RgbxToArgb}, {XrgbToRgba, XrgbToArgb}, {BgrxToRgba, BgrxToArgb}};
  static constexpr RowKernel kWithAlpha[][2] = {{Copy, RgbaToArgb}, {ArgbToRgba, Copy}};
  const auto from = static_cast<size_t>(source);
  const auto to = static_cast<size_t>(target);
  return hasAlpha ? kWithAlpha[from][to] : kOpaque[from][to];
}

}  // namespace qrv::pixels
