// Frames: captured pixels.
#ifndef PLATFORM_DESKTOP_FRAMES_FRAME_H_
#define PLATFORM_DESKTOP_FRAMES_FRAME_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "platform/desktop/frames/pixel_rect.h"

namespace qrv::desktop {

// Rows from top to bottom, 4 bytes per pixel: blue, green, red, unused. `owner` keeps `pixels`
// alive and unchanged; a frame without an owner is empty.
struct Frame {
  std::shared_ptr<void> owner;
  uint8_t* pixels = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  size_t rowBytes = 0;

  explicit operator bool() const { return owner != nullptr; }
};

inline uint64_t FrameBytes(int32_t width, int32_t height) {
  return uint64_t{4} * static_cast<uint32_t>(width) * static_cast<uint32_t>(height);
}

// A frame whose pixels are not written yet. Both sides are positive. Throws std::bad_alloc.
inline Frame NewFrame(int32_t width, int32_t height) {
  const uint64_t bytes = FrameBytes(width, height);
  if (bytes > static_cast<uint64_t>(PTRDIFF_MAX)) throw std::bad_alloc();
  const std::shared_ptr<uint32_t[]> pixels(new uint32_t[static_cast<size_t>(bytes / 4)]);
  return {pixels, reinterpret_cast<uint8_t*>(pixels.get()), width, height,
          static_cast<size_t>(width) * 4};
}

// A row of a frame that NewFrame made.
inline uint32_t* FrameRow(const Frame& frame, int32_t y) {
  return reinterpret_cast<uint32_t*>(frame.pixels + static_cast<size_t>(y) * frame.rowBytes);
}

// A region of a frame, which shares its pixels.
inline Frame PartOf(const Frame& whole, const PixelRect& region) {
  Frame frame = whole;
  frame.pixels +=
      static_cast<size_t>(region.y) * whole.rowBytes + static_cast<size_t>(region.x) * 4;
  frame.width = region.width;
  frame.height = region.height;
  return frame;
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_FRAME_H_
