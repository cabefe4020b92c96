// Images in memory that is shared with the compositor, and frames made of them.
#ifndef PLATFORM_DESKTOP_WAYLAND_SHARED_IMAGE_H_
#define PLATFORM_DESKTOP_WAYLAND_SHARED_IMAGE_H_

#include <cstdint>
#include <memory>

#include "platform/desktop/frames/frame.h"
#include "platform/desktop/frames/orientation.h"
#include "platform/desktop/peer/segments.h"
#include "platform/desktop/wayland/connection.h"

namespace qrv::desktop::wayland {

// The layout in memory that the compositor demands. The format is one of wl_shm's; the stride is in
// bytes.
struct ImageLayout {
  uint32_t format = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t stride = 0;
};

// Whether pixels of that format can be converted.
bool IsKnownFormat(uint32_t format);
// Of a known format.
uint32_t BytesPerPixel(uint32_t format);

// A wl_buffer over a segment of its own.
class SharedImage {
 public:
  // `width` and `height` are those of the upright image. The pool and the connection outlive it.
  // Throws Error when the layout is impossible or has other sides, or there is no memory.
  SharedImage(Connection& connection, SegmentPool& pool, const ImageLayout& layout, int32_t width,
              int32_t height);
  SharedImage(const SharedImage&) = delete;
  SharedImage& operator=(const SharedImage&) = delete;
  ~SharedImage();

  uint32_t buffer() const { return buffer_; }

  // The image that the compositor has written, upright; in the segment itself where that is
  // possible. Throws Error when it has other sides, and std::bad_alloc.
  Frame ToFrame(Orientation orientation, bool isInverted) const;

 private:
  Connection& connection_;
  ImageLayout layout_;
  int32_t width_;
  int32_t height_;
  std::shared_ptr<Segment> segment_;
  uint32_t buffer_;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SHARED_IMAGE_H_
