#include "bench/plain_loop.h"

namespace qrv::bench {

void UnmultiplyWithMask(const uint8_t* source, uint8_t* colour, uint8_t* mask, size_t pixels) {
  for (size_t i = 0; i < pixels; ++i, source += 4, colour += 4, mask += 4) {
    const unsigned alpha = source[3];
    colour[0] = 255;
    for (int channel = 0; channel < 3; ++channel) {
      const unsigned value = source[channel];
      colour[channel + 1] = static_cast<uint8_t>(alpha == 0 ? value : value * 255 / alpha);
    }
    mask[0] = 255;
    mask[1] = mask[2] = mask[3] = static_cast<uint8_t>(255 - alpha);
  }
}

}  // namespace qrv::bench
