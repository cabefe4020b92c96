#include "platform/desktop/frames/pointer.h"

#include <algorithm>

namespace qrv::desktop {
namespace {

void Blend(uint32_t source, uint8_t* target) {
  const uint32_t alpha = source >> 24;
  for (int channel = 0; channel < 3; ++channel, source >>= 8) {
    const uint32_t behind = (target[channel] * (255 - alpha) + 127) / 255;
    target[channel] = static_cast<uint8_t>(std::min((source & 0xFF) + behind, 255U));
  }
}

}  // namespace

void DrawPointer(const PointerImage& pointer, const PixelRect& region, const Frame& frame) {
  const PixelRect shown = Intersection(pointer.area, region);
  for (int32_t y = shown.y; y < shown.y + shown.height; ++y) {
    uint8_t* target = frame.pixels + static_cast<size_t>(y - region.y) * frame.rowBytes +
                      static_cast<size_t>(shown.x - region.x) * 4;
    const auto row = static_cast<size_t>(y - pointer.area.y);
    const auto column = static_cast<size_t>(shown.x - pointer.area.x);
    const uint32_t* source =
        pointer.pixels.data() + row * static_cast<size_t>(pointer.area.width) + column;
    for (int32_t left = shown.width; left > 0; --left, target += 4) Blend(*source++, target);
  }
}

}  // namespace qrv::desktop
