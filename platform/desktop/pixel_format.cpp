#include "platform/desktop/pixel_format.h"

#include <algorithm>
#include <iterator>

namespace qrv::desktop {
namespace {

struct Depth {
  int32_t bitsPerPixel;
  int32_t bitsPerSample;
  int32_t samplesPerPixel;
  int16_t quickDrawPixelSize;
};
constexpr Depth kDepths[] = {{32, 8, 3, 32}, {30, 10, 3, 32}, {16, 5, 3, 16}, {8, 8, 1, 8}};

}  // namespace

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

bool SetDepth(int32_t bitsPerPixel, Display& display) {
  const Depth* const depth =
      std::find_if(std::begin(kDepths), std::end(kDepths),
                   [bitsPerPixel](const Depth& each) { return each.bitsPerPixel == bitsPerPixel; });
  if (depth == std::end(kDepths)) return false;
  display.bitsPerPixel = depth->bitsPerPixel;
  display.bitsPerSample = depth->bitsPerSample;
  display.samplesPerPixel = depth->samplesPerPixel;
  display.quickDrawPixelSize = depth->quickDrawPixelSize;
  return true;
}

}  // namespace qrv::desktop
