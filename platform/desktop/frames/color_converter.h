// Conversion of a screen's pixels to 8 bits per channel.
#ifndef PLATFORM_DESKTOP_FRAMES_COLOR_CONVERTER_H_
#define PLATFORM_DESKTOP_FRAMES_COLOR_CONVERTER_H_

#include <array>
#include <cstdint>
#include <vector>

#include "platform/desktop/frames/pixel_format.h"

namespace qrv::desktop {

class ColorConverter {
 public:
  explicit ColorConverter(const PixelFormat& format);

  // The pixels whose colours SetColor needs, in order: as many as the longest channel has samples,
  // each with the same sample in all channels that have it. Empty unless the format is mapped.
  const std::vector<uint32_t>& mapPixels() const { return mapPixels_; }

  // Sets the colour of mapPixels()[mapPixel], 16 bits per channel.
  void SetColor(size_t mapPixel, uint16_t red, uint16_t green, uint16_t blue);

  // Converts a row to a frame's pixels: blue, green, red, unused in memory.
  void ConvertRow(const uint8_t* from, uint32_t* to, int32_t width) const {
    if (reorderBytes_ != nullptr) {
      reorderBytes_(from, 0, reinterpret_cast<uint8_t*>(to), 0, width, 1);
    } else {
      convertRow_(*this, from, to, width);
    }
  }

  // A function of libyuv. Strides are in bytes.
  using ReorderBytes = int (*)(const uint8_t* from, int fromStride, uint8_t* to, int toStride,
                               int width, int height);

 private:
  using RowFunction = void (*)(const ColorConverter&, const uint8_t*, uint32_t*, int32_t);

  template <size_t kBytes, bool kBigEndian>
  static void ConvertRowOf(const ColorConverter& converter, const uint8_t* from, uint32_t* to,
                           int32_t width);
  static RowFunction ChooseRowFunction(const PixelFormat& format);

  std::array<Channel, 3> channels_;
  // For each channel, what each of its samples contributes to a 00RRGGBB value.
  std::array<std::vector<uint32_t>, 3> levels_;
  std::vector<uint32_t> mapPixels_;
  ReorderBytes reorderBytes_;  // null when samples must be converted
  RowFunction convertRow_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_COLOR_CONVERTER_H_
