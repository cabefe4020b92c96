// Frames: memory for those that a desktop fills itself, and parts of them.
#ifndef PLATFORM_DESKTOP_FRAME_H_
#define PLATFORM_DESKTOP_FRAME_H_

#include <QRV/Desktop.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace qrv::desktop {

inline uint64_t FrameBytes(int32_t width, int32_t height) {
  return uint64_t{4} * static_cast<uint32_t>(width) * static_cast<uint32_t>(height);
}

// A frame of pixels yet to be written; empty when there is no memory. Both sides are positive.
inline Frame NewFrame(int32_t width, int32_t height) {
  const uint64_t bytes = FrameBytes(width, height);
  if (bytes > static_cast<uint64_t>(PTRDIFF_MAX)) return {};
  uint32_t* const pixels = new (std::nothrow) uint32_t[static_cast<size_t>(bytes / 4)];
  if (!pixels) return {};
  Frame frame;
  frame.owner = std::shared_ptr<uint32_t[]>(pixels);
  frame.pixels = reinterpret_cast<uint8_t*>(pixels);
  frame.width = width;
  frame.height = height;
  frame.rowBytes = static_cast<size_t>(width) * 4;
  return frame;
}

// A row of a frame of NewFrame.
inline uint32_t* FrameRow(const Frame& frame, int32_t y) {
  return reinterpret_cast<uint32_t*>(frame.pixels + static_cast<size_t>(y) * frame.rowBytes);
}

// A part of a frame, which shares its pixels.
inline Frame PartOf(const Frame& whole, const PixelRect& part) {
  Frame frame = whole;
  frame.pixels += static_cast<size_t>(part.y) * whole.rowBytes + static_cast<size_t>(part.x) * 4;
  frame.width = part.width;
  frame.height = part.height;
  return frame;
}

// Whether a part is not empty and lies within a display of these pixels.
inline bool Contains(int32_t width, int32_t height, const PixelRect& part) {
  return part.x >= 0 && part.y >= 0 && part.width > 0 && part.height > 0 && part.width <= width &&
         part.height <= height && part.x <= width - part.width && part.y <= height - part.height;
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAME_H_
