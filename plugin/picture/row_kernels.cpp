#include "plugin/picture/row_kernels.h"

#include <string.h>

#include "plugin/picture/picture_editor.h"

// Pixels are handled as native little-endian words, so that the first byte in memory is the low
// byte. The loops are plain and free of branches: the compiler vectorises them.

#define QRV_INLINE inline __attribute__((always_inline))

namespace picture {
namespace {

typedef uint32_t FourWords __attribute__((vector_size(16)));

struct Colour {
  uint32_t rgb;  // red in the low byte, then green, then blue; the high byte is 0
  uint32_t alpha;
};

QRV_INLINE uint32_t LoadWord(const uint8_t* address) {
  uint32_t word;
  memcpy(&word, address, sizeof(word));
  return word;
}

QRV_INLINE void StoreWord(uint8_t* address, uint32_t word) { memcpy(address, &word, sizeof(word)); }

// --- Source layouts: how the colours of a pixel are read, or those of four ---

struct FromSkipRgb {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) { return {LoadWord(pixel) >> 8, 255}; }
  static QRV_INLINE FourWords Rgb(FourWords words) { return words >> 8; }
  static QRV_INLINE FourWords Bgr(FourWords words) {
    return words >> 24 | (words >> 8 & 0xFF00) | (words << 8 & 0xFF0000);
  }
};

struct FromAlphaRgb {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    return {word >> 8, word & 255};
  }
};

struct FromBgrSkip {
  static constexpr size_t kBytes = 4;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    return {__builtin_bswap32(LoadWord(pixel)) >> 8, 255};
  }
  static QRV_INLINE FourWords Rgb(FourWords words) {
    return (words >> 16 & 255) | (words & 0xFF00) | (words & 255) << 16;
  }
  static QRV_INLINE FourWords Bgr(FourWords words) { return words & 0xFFFFFF; }
};

QRV_INLINE uint32_t PackRgb(uint32_t red, uint32_t green, uint32_t blue) {
  return red | green << 8 | blue << 16;
}

struct FromRgb {
  static constexpr size_t kBytes = 3;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    return {PackRgb(pixel[0], pixel[1], pixel[2]), 255};
  }
};

struct FromGrey {
  static constexpr size_t kBytes = 1;
  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    return {PackRgb(pixel[0], pixel[0], pixel[0]), 255};
  }
};

// The low 8 bits of colour x 255 / divisor, truncated; `scale` is 255 / divisor in floats.
QRV_INLINE uint32_t Unmultiply(uint32_t colour, float scale) {
  const float quotient = static_cast<float>(static_cast<int32_t>(colour)) * scale;
  return static_cast<uint32_t>(static_cast<int32_t>(quotient)) & 255;
}

struct FromPremultipliedRgba {
  static constexpr size_t kBytes = 4;
  // Slightly more than 255: enough that rounding pushes no exact quotient below its integer, and
  // too little to push any other quotient up to the next one, which is at least 1 / 65025 away. The
  // tests compare all 256 x 256 pairs.
  static constexpr float kFull = 255.0005F;

  static QRV_INLINE Colour Load(const uint8_t* pixel) {
    const uint32_t word = LoadWord(pixel);
    const uint32_t alpha = word >> 24;
    // Alpha 0 becomes 255, which keeps the colours. A condition would become a branch.
    const uint32_t divisor = alpha | (alpha - 1) >> 24;
    const float scale = kFull / static_cast<float>(static_cast<int32_t>(divisor));
    return {PackRgb(Unmultiply(word & 255, scale), Unmultiply((word >> 8) & 255, scale),
                    Unmultiply((word >> 16) & 255, scale)),
            alpha};
  }
};

// --- Picture layouts: the word of a pixel, and those of four opaque pixels ---

struct ToRgba {  // red, green, blue, alpha
  static QRV_INLINE uint32_t Word(uint32_t rgb, uint32_t alpha) { return rgb | alpha << 24; }
  template <typename From>
  static QRV_INLINE FourWords Words(FourWords words) {
    return From::Rgb(words) | 0xFF000000;
  }
};

struct ToArgb {  // alpha, red, green, blue
  static QRV_INLINE uint32_t Word(uint32_t rgb, uint32_t alpha) { return rgb << 8 | alpha; }
  template <typename From>
  static QRV_INLINE FourWords Words(FourWords words) {
    return From::Rgb(words) << 8 | 255;
  }
};

// Blue, green, red, and the console image's alpha of seven bits: 0 is opaque, and a source's alpha
// keeps its upper seven bits.
struct ToConsole {
  static QRV_INLINE uint32_t Word(uint32_t rgb, uint32_t alpha) {
    // Not a byte swap, for which the baseline has no vector instruction.
    const uint32_t bgr = (rgb & 255) << 16 | (rgb & 0xFF00) | rgb >> 16;
    return bgr | (alpha >> 1) << 24;
  }
  template <typename From>
  static QRV_INLINE FourWords Words(FourWords words) {
    return From::Bgr(words);
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

// Pictures are larger than caches, so a loop that reads and writes mostly waits for memory. The
// processor's own prefetching stops at the end of each page of 4 KiB; this goes one page ahead.
constexpr size_t kBlockPixels = 256;
constexpr size_t kAheadBytes = 4096;
constexpr size_t kLineBytes = 64;

// Prefetches the bytes that lie kAheadBytes further on. They need not exist, because a prefetch
// never faults.
QRV_INLINE void PrefetchAhead(const uint8_t* address, size_t bytes) {
  const uintptr_t first = reinterpret_cast<uintptr_t>(address) + kAheadBytes;
  for (size_t i = 0; i < bytes; i += kLineBytes) {
    __builtin_prefetch(reinterpret_cast<const void*>(first + i));
  }
}

// Calls `convert` for each pixel, and prefetches the source and the target rows block by block.
template <size_t kSourceBytes, typename Convert, typename... Targets>
QRV_INLINE void InBlocks(const uint8_t* __restrict source, size_t pixels, Convert convert,
                         Targets* __restrict... targets) {
  size_t done = 0;
  for (; done + kBlockPixels <= pixels; done += kBlockPixels) {
    PrefetchAhead(source + done * kSourceBytes, kBlockPixels * kSourceBytes);
    (PrefetchAhead(targets + done * 4, kBlockPixels * 4), ...);
    for (size_t i = done; i < done + kBlockPixels; ++i) convert(i);
  }
  for (size_t i = done; i < pixels; ++i) convert(i);
}

template <typename From, typename To>
void ConvertOpaque(const uint8_t* __restrict source, uint8_t* __restrict destination,
                   size_t pixels) {
  const auto convert = [=](size_t i) __attribute__((always_inline)) {
    const Colour c = From::Load(source + i * From::kBytes);
    StoreWord(destination + i * 4, To::Word(c.rgb, Opaque<To>::kAlpha));
  };
  InBlocks<From::kBytes>(source, pixels, convert, destination);
}

#if defined(__SSE2__)

// The address is a multiple of 16.
QRV_INLINE void StorePastCache(uint8_t* address, FourWords words) {
#if defined(__clang__)
  __builtin_nontemporal_store(words, reinterpret_cast<FourWords*>(address));
#else
  typedef long long TwoLongs __attribute__((vector_size(16)));
  __builtin_ia32_movntdq(reinterpret_cast<TwoLongs*>(address), reinterpret_cast<TwoLongs>(words));
#endif
}

// Like ConvertOpaque, but stores past the cache, so that the processor does not fetch what is
// overwritten.
template <typename From, typename To>
void StreamOpaque(const uint8_t* __restrict source, uint8_t* __restrict destination,
                  size_t pixels) {
  constexpr size_t kLinePixels = kLineBytes / 4;
  const auto address = reinterpret_cast<uintptr_t>(destination);
  size_t done = (16 - address % 16) % 16 / 4;
  if (address % 4 != 0 || done > pixels) {
    ConvertOpaque<From, To>(source, destination, pixels);
    return;
  }
  ConvertOpaque<From, To>(source, destination, done);
  for (; done + kLinePixels <= pixels; done += kLinePixels) {
    PrefetchAhead(source + done * 4, kLineBytes);
    for (size_t i = done; i < done + kLinePixels; i += 4) {
      FourWords words;
      memcpy(&words, source + i * 4, sizeof(words));
      StorePastCache(destination + i * 4, To::template Words<From>(words));
    }
  }
  ConvertOpaque<From, To>(source + done * 4, destination + done * 4, pixels - done);
}

#else

template <typename From, typename To>
void StreamOpaque(const uint8_t* __restrict source, uint8_t* __restrict destination,
                  size_t pixels) {
  ConvertOpaque<From, To>(source, destination, pixels);
}

#endif

template <typename From, typename To>
void ConvertWithAlpha(const uint8_t* __restrict source, uint8_t* __restrict destination,
                      size_t pixels) {
  const auto convert = [=](size_t i) __attribute__((always_inline)) {
    const Colour c = From::Load(source + i * From::kBytes);
    StoreWord(destination + i * 4, To::Word(c.rgb, c.alpha));
  };
  InBlocks<From::kBytes>(source, pixels, convert, destination);
}

template <typename To>
void SplitMask(const uint8_t* __restrict source, uint8_t* __restrict colour,
               uint8_t* __restrict mask, size_t pixels) {
  const auto convert = [=](size_t i) __attribute__((always_inline)) {
    const Colour c = FromPremultipliedRgba::Load(source + i * 4);
    const uint32_t level = 255 - c.alpha;
    StoreWord(colour + i * 4, To::Word(c.rgb, Opaque<To>::kAlpha));
    StoreWord(mask + i * 4, To::Word(PackRgb(level, level, level), Opaque<To>::kAlpha));
  };
  InBlocks<4>(source, pixels, convert, colour, mask);
}

// --- Tables ---

enum PictureLayout : int8_t { kNone = -1, kRgba, kArgb, kConsole };

// By `pixelFormat`: the alpha infos of bitmap contexts, and the console image.
const PictureLayout kPictureLayouts[] = {kNone, kRgba, kArgb, kRgba,   kArgb,
                                         kRgba, kArgb, kNone, kConsole};

PictureLayout LayoutOf(int32_t pixelFormat) {
  return pixelFormat < 0 || pixelFormat > kConsolePixelFormat ? kNone
                                                              : kPictureLayouts[pixelFormat];
}

struct LayoutRow {
  size_t bytesPerPixel;
  RowKernel kernels[3];  // by PictureLayout
  RowKernel streams[3];  // for large pictures; null where there are none
};

template <typename From>
constexpr LayoutRow OpaqueRow() {
  return {
      From::kBytes,
      {ConvertOpaque<From, ToRgba>, ConvertOpaque<From, ToArgb>, ConvertOpaque<From, ToConsole>},
      {}};
}

template <typename From>
constexpr LayoutRow StreamedRow() {
  LayoutRow row = OpaqueRow<From>();
  row.streams[kRgba] = StreamOpaque<From, ToRgba>;
  row.streams[kArgb] = StreamOpaque<From, ToArgb>;
  row.streams[kConsole] = StreamOpaque<From, ToConsole>;
  return row;
}

// The start of a picture of this many pixels has left the cache when its end is written.
constexpr size_t kLargePicture = size_t{4} << 20;

// By SourceLayout.
constexpr LayoutRow kLayouts[] = {
    StreamedRow<FromSkipRgb>(),
    StreamedRow<FromBgrSkip>(),
    {FromAlphaRgb::kBytes,
     {ConvertWithAlpha<FromAlphaRgb, ToRgba>, ConvertWithAlpha<FromAlphaRgb, ToArgb>,
      ConvertWithAlpha<FromAlphaRgb, ToConsole>},
     {}},
    OpaqueRow<FromRgb>(),
    OpaqueRow<FromGrey>(),
    OpaqueRow<FromPremultipliedRgba>(),
};

constexpr MaskRowKernel kMaskKernels[] = {SplitMask<ToRgba>, SplitMask<ToArgb>,
                                          SplitMask<ToConsole>};

const LayoutRow& Row(SourceLayout layout) { return kLayouts[static_cast<size_t>(layout)]; }

}  // namespace

size_t BytesPerPixel(SourceLayout layout) { return Row(layout).bytesPerPixel; }

RowKernel ChooseRowKernel(SourceLayout layout, int32_t pixelFormat, size_t pixels) {
  const PictureLayout picture = LayoutOf(pixelFormat);
  if (picture == kNone) return nullptr;
  const LayoutRow& row = Row(layout);
  const RowKernel stream = pixels >= kLargePicture ? row.streams[picture] : nullptr;
  return stream != nullptr ? stream : row.kernels[picture];
}

void FinishRows() {
#if defined(__SSE2__)
  __builtin_ia32_sfence();
#endif
}

MaskRowKernel ChooseMaskRowKernel(int32_t pixelFormat) {
  const PictureLayout picture = LayoutOf(pixelFormat);
  return picture == kNone ? nullptr : kMaskKernels[picture];
}

}  // namespace picture
