#include "platform/desktop/frames/color_converter.h"

#include <libyuv/convert_argb.h>

#include <algorithm>
#include <iterator>

namespace qrv::desktop {
namespace {

constexpr uint32_t kShifts[] = {16, 8, 0};  // of red, green and blue in a 00RRGGBB value

// 16 bits to 8, rounded down.
uint32_t Level(uint32_t value) { return value / 257; }

template <size_t kBytes, bool kBigEndian>
uint32_t LoadPixel(const uint8_t* from) {
  uint32_t pixel = 0;
  for (size_t i = 0; i < kBytes; ++i) {
    pixel |= static_cast<uint32_t>(from[kBigEndian ? kBytes - 1 - i : i]) << (8 * i);
  }
  return pixel;
}

// Formats of 8 bits per channel, whose bytes only need reordering. The comments name bytes in the
// order of memory; libyuv names them in reverse.
struct ByteOrder {
  size_t bytesPerPixel;
  std::array<uint32_t, 3> shifts;  // red, green, blue, in little-endian pixels
  ColorConverter::ReorderBytes convert;
};
constexpr ByteOrder kByteOrders[] = {
    {4, {0, 8, 16}, libyuv::ABGRToARGB},   // R G B X
    {4, {24, 16, 8}, libyuv::RGBAToARGB},  // X B G R
    {4, {8, 16, 24}, libyuv::BGRAToARGB},  // X R G B
    {3, {16, 8, 0}, libyuv::RGB24ToARGB},  // B G R
    {3, {0, 8, 16}, libyuv::RAWToARGB},    // R G B
};

// Null when reordering bytes is not enough.
ColorConverter::ReorderBytes FindByteOrder(const PixelFormat& format) {
  if (format.mapColors != 0) return nullptr;
  std::array<uint32_t, 3> shifts = {};
  for (size_t i = 0; i < shifts.size(); ++i) {
    if (format.channels[i].max != 0xFF) return nullptr;
    const uint32_t shift = format.channels[i].shift;
    const auto last = static_cast<uint32_t>(8 * (format.bytesPerPixel - 1));
    shifts[i] = format.bigEndian ? last - shift : shift;
  }
  const auto found =
      std::find_if(std::begin(kByteOrders), std::end(kByteOrders), [&](const ByteOrder& each) {
        return each.bytesPerPixel == format.bytesPerPixel && each.shifts == shifts;
      });
  return found == std::end(kByteOrders) ? nullptr : found->convert;
}

}  // namespace

ColorConverter::ColorConverter(const PixelFormat& format)
    : channels_(format.channels),
      reorderBytes_(FindByteOrder(format)),
      convertRow_(ChooseRowFunction(format)) {
  for (size_t i = 0; i < channels_.size(); ++i) {
    const uint32_t max = channels_[i].max;
    levels_[i].resize(size_t{max} + 1);
    // By way of 16 bits, in which X servers report colours, and rounded down both times, as other
    // capture programs do.
    for (uint32_t sample = 0; sample <= max; ++sample) {
      levels_[i][sample] = Level(sample * 65535 / max) << kShifts[i];
    }
  }
  if (format.mapColors == 0) return;
  size_t longest = 0;
  for (const std::vector<uint32_t>& levels : levels_) longest = std::max(longest, levels.size());
  mapPixels_.resize(std::min<size_t>(longest, format.mapColors));
  for (uint32_t sample = 0; sample < mapPixels_.size(); ++sample) {
    for (const Channel& channel : channels_) {
      mapPixels_[sample] |= (sample & channel.max) << channel.shift;
    }
  }
}

void ColorConverter::SetColor(size_t mapPixel, uint16_t red, uint16_t green, uint16_t blue) {
  const auto set = [&](size_t channel, uint16_t value) {
    if (mapPixel < levels_[channel].size()) {
      levels_[channel][mapPixel] = Level(value) << kShifts[channel];
    }
  };
  set(0, red);
  set(1, green);
  set(2, blue);
}

template <size_t kBytes, bool kBigEndian>
void ColorConverter::ConvertRowOf(const ColorConverter& converter, const uint8_t* from,
                                  uint32_t* to, int32_t width) {
  const auto [red, green, blue] = converter.channels_;
  const uint32_t* const reds = converter.levels_[0].data();
  const uint32_t* const greens = converter.levels_[1].data();
  const uint32_t* const blues = converter.levels_[2].data();
  for (int32_t x = 0; x < width; ++x, from += kBytes) {
    const uint32_t pixel = LoadPixel<kBytes, kBigEndian>(from);
    to[x] = reds[pixel >> red.shift & red.max] | greens[pixel >> green.shift & green.max] |
            blues[pixel >> blue.shift & blue.max];
  }
}

ColorConverter::RowFunction ColorConverter::ChooseRowFunction(const PixelFormat& format) {
  static constexpr RowFunction kFunctions[][2] = {{ConvertRowOf<1, false>, ConvertRowOf<1, true>},
                                                  {ConvertRowOf<2, false>, ConvertRowOf<2, true>},
                                                  {ConvertRowOf<3, false>, ConvertRowOf<3, true>},
                                                  {ConvertRowOf<4, false>, ConvertRowOf<4, true>}};
  return kFunctions[format.bytesPerPixel - 1][format.bigEndian ? 1 : 0];
}

}  // namespace qrv::desktop
