#include "platform/quickdraw/rows.h"

#include <emmintrin.h>

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

namespace qrv::quickdraw {
namespace {

static_assert(std::endian::native == std::endian::little);

// Between layouts a pixel is the word 0xAARRGGBB.
constexpr uint32_t kColorMask = 0x00FFFFFF;

constexpr uint32_t Pack(uint32_t red, uint32_t green, uint32_t blue) {
  return red << 16 | green << 8 | blue;
}
constexpr uint32_t Red(uint32_t pixel) { return pixel >> 16 & 0xFF; }
constexpr uint32_t Green(uint32_t pixel) { return pixel >> 8 & 0xFF; }
constexpr uint32_t Blue(uint32_t pixel) { return pixel & 0xFF; }

inline uint32_t LoadWord(const uint8_t* at) {
  uint32_t word;
  memcpy(&word, at, sizeof(word));
  return word;
}

struct Grey8 {
  static constexpr size_t kBytes = 1;
  static uint32_t Load(const uint8_t* at) { return at[0] * 0x010101u; }
  static void Store(uint8_t* at, uint32_t pixel) {
    at[0] =
        static_cast<uint8_t>((77 * Red(pixel) + 150 * Green(pixel) + 29 * Blue(pixel) + 128) / 256);
  }
};

struct Rgb16 {
  static constexpr size_t kBytes = 2;
  static uint32_t Load(const uint8_t* at) {
    const uint32_t word = static_cast<uint32_t>(at[0]) << 8 | at[1];
    return Pack(Widen(word >> 10), Widen(word >> 5), Widen(word));
  }
  static void Store(uint8_t* at, uint32_t pixel) {
    const uint32_t word = Red(pixel) >> 3 << 10 | Green(pixel) >> 3 << 5 | Blue(pixel) >> 3;
    at[0] = static_cast<uint8_t>(word >> 8);
    at[1] = static_cast<uint8_t>(word);
  }
  // The lower 5 bits times 255 / 31, rounded to the nearest.
  static uint32_t Widen(uint32_t bits) { return ((bits & 31) * 527 + 23) >> 6; }
};

struct Rgb24 {
  static constexpr size_t kBytes = 3;
  static uint32_t Load(const uint8_t* at) { return Pack(at[0], at[1], at[2]); }
  static void Store(uint8_t* at, uint32_t pixel) {
    at[0] = static_cast<uint8_t>(Red(pixel));
    at[1] = static_cast<uint8_t>(Green(pixel));
    at[2] = static_cast<uint8_t>(Blue(pixel));
  }
};

struct Argb32 {
  static constexpr size_t kBytes = 4;
  static uint32_t Load(const uint8_t* at) { return __builtin_bswap32(LoadWord(at)); }
  static void Store(uint8_t* at, uint32_t pixel) {
    const uint32_t word = __builtin_bswap32(pixel);
    memcpy(at, &word, sizeof(word));
  }
};

struct Screen32 {
  static constexpr size_t kBytes = 4;
  static uint32_t Load(const uint8_t* at) { return LoadWord(at) & kColorMask; }
};

template <typename Source, typename Target>
void CopyRow(const uint8_t* __restrict source, uint8_t* __restrict target, size_t count) {
  if constexpr (std::is_same_v<Source, Target>) {
    memcpy(target, source, count * Target::kBytes);
  } else {
    for (size_t i = 0; i < count; ++i) {
      Target::Store(target + i * Target::kBytes, Source::Load(source + i * Source::kBytes));
    }
  }
}

template <typename Source, typename Target>
void PickRow(const uint8_t* __restrict source, const int32_t* columns, uint8_t* __restrict target,
             size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* pixel = source + static_cast<size_t>(columns[i]) * Source::kBytes;
    if constexpr (std::is_same_v<Source, Target>) {
      memcpy(target + i * Target::kBytes, pixel, Target::kBytes);
    } else {
      Target::Store(target + i * Target::kBytes, Source::Load(pixel));
    }
  }
}

// The row of a plain screen capture, four pixels at a time. Compilers see a byte swap in the
// general form and leave it one pixel at a time, which takes about 1.5 times as long.
void CopyScreenRow(const uint8_t* __restrict source, uint8_t* __restrict target, size_t count) {
  const __m128i redAndBlue = _mm_set1_epi32(0x00FF00FF);
  const __m128i green = _mm_set1_epi32(0x0000FF00);
  const size_t inFours = count & ~size_t{3};
  for (size_t i = 0; i < inFours; i += 4) {
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + i * 4));
    const __m128i outer = _mm_and_si128(pixels, redAndBlue);
    const __m128i swapped = _mm_or_si128(_mm_slli_epi32(outer, 24), _mm_srli_epi32(outer, 8));
    const __m128i middle = _mm_slli_epi32(_mm_and_si128(pixels, green), 8);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i * 4), _mm_or_si128(swapped, middle));
  }
  CopyRow<Screen32, Argb32>(source + inFours * 4, target + inFours * 4, count - inFours);
}

struct Kernels {
  RowCopier copy;
  RowPicker pick;
};

template <typename Source, typename Target>
constexpr Kernels kPlain = {CopyRow<Source, Target>, PickRow<Source, Target>};

template <typename Source>
constexpr std::array<Kernels, 4> kPlainFrom = {kPlain<Source, Grey8>, kPlain<Source, Rgb16>,
                                               kPlain<Source, Rgb24>, kPlain<Source, Argb32>};

// By source layout, then by target layout.
constexpr std::array<std::array<Kernels, 4>, 5> kTable = {
    kPlainFrom<Grey8>, kPlainFrom<Rgb16>, kPlainFrom<Rgb24>, kPlainFrom<Argb32>,
    std::array<Kernels, 4>{kPlain<Screen32, Grey8>, kPlain<Screen32, Rgb16>,
                           kPlain<Screen32, Rgb24>,
                           Kernels{CopyScreenRow, PickRow<Screen32, Argb32>}}};

const Kernels& KernelsFor(Layout source, Layout target) {
  return kTable[static_cast<size_t>(source)][static_cast<size_t>(target)];
}

}  // namespace

std::optional<Layout> LayoutOfDepth(int depth) {
  switch (depth) {
    case 8:
      return Layout::kGrey8;
    case 16:
      return Layout::kRgb16;
    case 24:
      return Layout::kRgb24;
    case 32:
      return Layout::kArgb32;
    default:
      return std::nullopt;
  }
}

size_t BytesPerPixel(Layout layout) {
  constexpr size_t kBytes[] = {Grey8::kBytes, Rgb16::kBytes, Rgb24::kBytes, Argb32::kBytes,
                               Screen32::kBytes};
  return kBytes[static_cast<size_t>(layout)];
}

RowCopier RowCopierFor(Layout source, Layout target) { return KernelsFor(source, target).copy; }

RowPicker RowPickerFor(Layout source, Layout target) { return KernelsFor(source, target).pick; }

}  // namespace qrv::quickdraw
