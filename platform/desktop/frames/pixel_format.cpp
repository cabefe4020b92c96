#include "platform/desktop/frames/pixel_format.h"

namespace qrv::desktop {

bool IsFrameFormat(const PixelFormat& format) {
  const auto isByteAt = [](const Channel& channel, uint32_t shift) {
    return channel.shift == shift && channel.max == 0xFF;
  };
  return format.bytesPerPixel == 4 && !format.bigEndian && format.mapColors == 0 &&
         isByteAt(format.channels[0], 16) && isByteAt(format.channels[1], 8) &&
         isByteAt(format.channels[2], 0);
}

size_t ImageRowBytes(const PixelFormat& format, int32_t width) {
  const size_t bytes = static_cast<size_t>(width) * format.bytesPerPixel;
  return (bytes + format.rowAlignment - 1) / format.rowAlignment * format.rowAlignment;
}

int32_t BitsPerPixel(const PixelFormat& format) {
  if (format.bytesPerPixel < 3) return static_cast<int32_t>(format.bytesPerPixel * 8);
  return format.channels[0].max > 0xFF ? 30 : 32;
}

}  // namespace qrv::desktop
