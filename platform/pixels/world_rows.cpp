#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

#include "platform/pixels/rows.h"
#include "platform/pixels/target_clones.h"

namespace qrv::pixels {
namespace {

static_assert(std::endian::native == std::endian::little);

// A pixel of the screen as the word 0xXXRRGGBB.
inline uint32_t LoadPixel(const uint8_t* at) {
  uint32_t pixel;
  memcpy(&pixel, at, sizeof(pixel));
  return pixel;
}
constexpr uint32_t Red(uint32_t pixel) { return pixel >> 16 & 0xFF; }
constexpr uint32_t Green(uint32_t pixel) { return pixel >> 8 & 0xFF; }
constexpr uint32_t Blue(uint32_t pixel) { return pixel & 0xFF; }

struct Grey8 {
  static constexpr size_t kBytes = 1;
  static void Store(uint8_t* at, uint32_t pixel) {
    at[0] =
        static_cast<uint8_t>((77 * Red(pixel) + 150 * Green(pixel) + 29 * Blue(pixel) + 128) / 256);
  }
};

struct Rgb16 {
  static constexpr size_t kBytes = 2;
  static void Store(uint8_t* at, uint32_t pixel) {
    const uint32_t word = Red(pixel) >> 3 << 10 | Green(pixel) >> 3 << 5 | Blue(pixel) >> 3;
    at[0] = static_cast<uint8_t>(word >> 8);
    at[1] = static_cast<uint8_t>(word);
  }
};

struct Rgb24 {
  static constexpr size_t kBytes = 3;
  static void Store(uint8_t* at, uint32_t pixel) {
    at[0] = static_cast<uint8_t>(Red(pixel));
    at[1] = static_cast<uint8_t>(Green(pixel));
    at[2] = static_cast<uint8_t>(Blue(pixel));
  }
};

struct Xrgb32 {
  static constexpr size_t kBytes = 4;
  static void Store(uint8_t* at, uint32_t pixel) {
    const uint32_t word = __builtin_bswap32(pixel << 8 >> 8);
    memcpy(at, &word, sizeof(word));
  }
};

template <typename Target>
[[gnu::always_inline]] inline void ConvertRow(const uint8_t* __restrict source,
                                              uint8_t* __restrict target, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    Target::Store(target + i * Target::kBytes, LoadPixel(source + i * 4));
  }
}

// The common case, so the only one with clones.
QRV_TARGET_CLONES void ConvertToXrgb32(const uint8_t* source, uint8_t* target, size_t count) {
  ConvertRow<Xrgb32>(source, target, count);
}

template <typename Target>
constexpr WorldLayout LayoutOf(RowKernel convert = ConvertRow<Target>) {
  return {Target::kBytes * 8, Target::kBytes, convert};
}

constexpr WorldLayout kLayouts[] = {LayoutOf<Grey8>(), LayoutOf<Rgb16>(), LayoutOf<Rgb24>(),
                                    LayoutOf<Xrgb32>(ConvertToXrgb32)};

}  // namespace

const WorldLayout* FindWorldLayout(int depth) {
  const auto* found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts),
                   [=](const WorldLayout& layout) { return layout.depth == depth; });
  return found == std::end(kLayouts) ? nullptr : found;
}

}  // namespace qrv::pixels
