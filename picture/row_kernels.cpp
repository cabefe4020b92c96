#include "picture/row_kernels.h"

#include <string.h>

#include "picture/picture_editor.h"
#include "picture/target_clones.h"

// Pixels are handled as native little-endian words, so that the first byte in memory is the low
// byte. The loops are plain and free of branches: the compiler vectorises them.

#define QRV_INLINE inline __attribute__((always_inline))

namespace picture {
namespace {

// Colours in the low bytes of three words, as a source layout yields them, and the word's alpha.
struct Colour {
  uint32_t red;
  uint32_t green;
  uint32_t blue;
  uint32_t alpha;
};

QRV_INLINE uint32_t LoadWord(const uint8_t* address) {
  uint32_t word;
  memcpy(&word, address, sizeof(word));
  return word;
}

QRV_INLINE void StoreWord(uint8_t* address, uint32_t word) { memcpy(address, &word, sizeof(word)); }

// --- Source layouts: the bytes of a pixel, and how its colours are read ---

struct FromSkipRgb {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    return {(word >> 8) & 255, (word >> 16) & 255, word >> 24, 255};
  }
};

struct FromAlphaRgb {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    return {(word >> 8) & 255, (word >> 16) & 255, word >> 24, word & 255};
  }
};

struct FromBgrSkip {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    return {(word >> 16) & 255, (word >> 8) & 255, word & 255, 255};
  }
};

struct FromRgb {
  static constexpr size_t kBytes = 3;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    return {pixel[0], pixel[1], pixel[2], 255};
  }
};

struct FromGrey {
  static constexpr size_t kBytes = 1;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    return {pixel[0], pixel[0], pixel[0], 255};
  }
};

// The low 8 bits of colour x 255 / divisor, truncated, as `scale` is 255 / divisor in floats. The
// small summand keeps exact quotients from falling below themselves by rounding, and is too small
// to lift any other quotient to the next integer; the tests compare all 256 x 256 pairs.
QRV_INLINE uint32_t Unmultiply(uint32_t colour, float scale) {
  constexpr float kNudge = 0.001F;
  const float quotient = (static_cast<float>(static_cast<int32_t>(colour)) + kNudge) * scale;
  return static_cast<uint32_t>(static_cast<int32_t>(quotient)) & 255;
}

struct FromPremultipliedRgba {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    const auto alpha = static_cast<int32_t>(word >> 24);
    // Where alpha is 0 the colours stay as they are: a scale of 1 / 1.
    const int32_t transparent = alpha == 0 ? 1 : 0;
    const int32_t numerator = transparent != 0 ? 1 : 255;
    const float scale = static_cast<float>(numerator) / static_cast<float>(alpha + transparent);
    return {Unmultiply(word & 255, scale), Unmultiply((word >> 8) & 255, scale),
            Unmultiply((word >> 16) & 255, scale), static_cast<uint32_t>(alpha)};
  }
};

// --- Picture layouts: the word that is stored for a pixel ---

struct ToRgba {  // red, green, blue, alpha
  static QRV_INLINE uint32_t Word(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
    return red | green << 8 | blue << 16 | alpha << 24;
  }
};

struct ToArgb {  // alpha, red, green, blue
  static QRV_INLINE uint32_t Word(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
    return alpha | red << 8 | green << 16 | blue << 24;
  }
};

// Blue, green, red, and the console image's alpha: 0 is opaque, and what is kept of an alpha is
// its upper seven bits.
struct ToConsole {
  static QRV_INLINE uint32_t Word(uint32_t red, uint32_t green, uint32_t blue, uint32_t alpha) {
    return blue | green << 8 | red << 16 | (alpha >> 1) << 24;
  }
};

template <typename To>
struct Opaque {
  static constexpr uint32_t kAlpha = 255;
};
template <>
struct Opaque<ToConsole> {
  static constexpr uint32_t kAlpha = 0;
};

// --- Loops ---

template <typename From, typename To>
QRV_INLINE void ConvertOpaque(const uint8_t* source, uint8_t* destination, size_t pixels) {
  for (size_t i = 0; i < pixels; ++i) {
    const Colour c = From::Load(source + i * From::kBytes);
    StoreWord(destination + i * 4, To::Word(c.red, c.green, c.blue, Opaque<To>::kAlpha));
  }
}

template <typename From, typename To>
QRV_INLINE void ConvertWithAlpha(const uint8_t* source, uint8_t* destination, size_t pixels) {
  for (size_t i = 0; i < pixels; ++i) {
    const Colour c = From::Load(source + i * From::kBytes);
    StoreWord(destination + i * 4, To::Word(c.red, c.green, c.blue, c.alpha));
  }
}

template <typename To>
QRV_INLINE void SplitMask(const uint8_t* source, uint8_t* colour, uint8_t* mask, size_t pixels) {
  for (size_t i = 0; i < pixels; ++i) {
    const Colour c = FromPremultipliedRgba::Load(source + i * 4);
    const uint32_t level = 255 - c.alpha;
    StoreWord(colour + i * 4, To::Word(c.red, c.green, c.blue, Opaque<To>::kAlpha));
    StoreWord(mask + i * 4, To::Word(level, level, level, Opaque<To>::kAlpha));
  }
}

// --- Kernels: one function per pair of layouts, because versions can't be made of templates ---

#define QRV_KERNEL(name, convert, from, to)                                                        \
  QRV_VECTOR_VERSIONS void name(const uint8_t* __restrict source, uint8_t* __restrict destination, \
                                size_t pixels) {                                                   \
    convert<from, to>(source, destination, pixels);                                                \
  }

#define QRV_KERNELS(name, convert, from)          \
  QRV_KERNEL(name##ToRgba, convert, from, ToRgba) \
  QRV_KERNEL(name##ToArgb, convert, from, ToArgb) \
  QRV_KERNEL(name##ToConsole, convert, from, ToConsole)

QRV_KERNELS(SkipRgb, ConvertOpaque, FromSkipRgb)
QRV_KERNELS(BgrSkip, ConvertOpaque, FromBgrSkip)
QRV_KERNELS(AlphaRgb, ConvertWithAlpha, FromAlphaRgb)
QRV_KERNELS(Rgb, ConvertOpaque, FromRgb)
QRV_KERNELS(Grey, ConvertOpaque, FromGrey)
QRV_KERNELS(PremultipliedRgba, ConvertOpaque, FromPremultipliedRgba)

#define QRV_MASK_KERNEL(name, to)                                                             \
  QRV_VECTOR_VERSIONS void name(const uint8_t* __restrict source, uint8_t* __restrict colour, \
                                uint8_t* __restrict mask, size_t pixels) {                    \
    SplitMask<to>(source, colour, mask, pixels);                                              \
  }

QRV_MASK_KERNEL(SplitMaskToRgba, ToRgba)
QRV_MASK_KERNEL(SplitMaskToArgb, ToArgb)
QRV_MASK_KERNEL(SplitMaskToConsole, ToConsole)

// --- Tables ---

enum PictureLayout : int8_t { kNone = -1, kRgba, kArgb, kConsole };

// By `pixelFormat`.
const PictureLayout kPictureLayouts[] = {kNone, kRgba, kArgb, kRgba,   kArgb,
                                         kRgba, kArgb, kNone, kConsole};

PictureLayout LayoutOf(int32_t pixelFormat) {
  return pixelFormat < 0 || pixelFormat > kConsolePixelFormat ? kNone
                                                              : kPictureLayouts[pixelFormat];
}

struct LayoutRow {
  size_t bytesPerPixel;
  RowKernel kernels[3];  // by PictureLayout
};

// By SourceLayout.
const LayoutRow kLayouts[] = {
    {4, {SkipRgbToRgba, SkipRgbToArgb, SkipRgbToConsole}},
    {4, {BgrSkipToRgba, BgrSkipToArgb, BgrSkipToConsole}},
    {4, {AlphaRgbToRgba, AlphaRgbToArgb, AlphaRgbToConsole}},
    {3, {RgbToRgba, RgbToArgb, RgbToConsole}},
    {1, {GreyToRgba, GreyToArgb, GreyToConsole}},
    {4, {PremultipliedRgbaToRgba, PremultipliedRgbaToArgb, PremultipliedRgbaToConsole}},
};

const MaskRowKernel kMaskKernels[] = {SplitMaskToRgba, SplitMaskToArgb, SplitMaskToConsole};

const LayoutRow& Row(SourceLayout layout) { return kLayouts[static_cast<size_t>(layout)]; }

}  // namespace

size_t BytesPerPixel(SourceLayout layout) { return Row(layout).bytesPerPixel; }

RowKernel ChooseRowKernel(SourceLayout layout, int32_t pixelFormat) {
  const PictureLayout picture = LayoutOf(pixelFormat);
  return picture == kNone ? nullptr : Row(layout).kernels[picture];
}

MaskRowKernel ChooseMaskRowKernel(int32_t pixelFormat) {
  const PictureLayout picture = LayoutOf(pixelFormat);
  return picture == kNone ? nullptr : kMaskKernels[picture];
}

}  // namespace picture
