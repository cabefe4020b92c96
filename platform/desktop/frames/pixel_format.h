// How a screen's pixels are stored, in words that are nobody's protocol.
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
  // How many colours the map has whose indexes the samples are; 0 when they are no indexes. Without
  // channels of their own, as in a pseudo-colour screen, all three are the whole pixel.
  uint32_t mapColors = 0;
};

// Whether pixels lie in memory as a frame's do: blue, green, red, unused.
bool IsFrameFormat(const PixelFormat& format);

// From one row of an image to the next.
size_t ImageRowBytes(const PixelFormat& format, int32_t width);

// The bits per pixel by which a display of this format is known.
int32_t BitsPerPixel(const PixelFormat& format);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_PIXEL_FORMAT_H_
