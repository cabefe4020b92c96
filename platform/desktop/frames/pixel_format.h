// How a screen's pixels are stored, independent of any protocol.
#ifndef PLATFORM_DESKTOP_FRAMES_PIXEL_FORMAT_H_
#define PLATFORM_DESKTOP_FRAMES_PIXEL_FORMAT_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace qrv::desktop {

// The bits of a pixel that hold one of its samples: (pixel >> shift) & max.
struct Channel {
  uint32_t shift = 0;
  uint32_t max = 0;  // 2^n - 1
};

struct PixelFormat {
  size_t bytesPerPixel = 0;  // 1 to 4
  size_t rowAlignment = 1;   // bytes
  bool bigEndian = false;
  std::array<Channel, 3> channels;  // red, green, blue
  // The size of the colour map that samples are indexes into; 0 when there is none. Where one index
  // stands for all channels, as on a pseudo-colour screen, each of the three is the whole pixel.
  uint32_t mapColors = 0;
};

// Whether the format is a frame's: blue, green, red, unused in memory.
bool IsFrameFormat(const PixelFormat& format);

// Bytes from one row of an image to the next.
size_t ImageRowBytes(const PixelFormat& format, int32_t width);

// The bits per pixel that a display of this format reports.
int32_t BitsPerPixel(const PixelFormat& format);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_PIXEL_FORMAT_H_
