// Images in memory that is shared with the compositor, and frames made of them.
#ifndef PLATFORM_DESKTOP_WAYLAND_SHARED_IMAGE_H_
#define PLATFORM_DESKTOP_WAYLAND_SHARED_IMAGE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "platform/desktop/desktop.h"
#include "platform/desktop/orientation.h"
#include "platform/desktop/segments.h"
#include "platform/desktop/wayland/connection.h"

namespace qrv::desktop::wayland {

// How the compositor wants an image to lie in memory. The format is one of wl_shm's; the stride is
// from one row to the next, in bytes.
struct ImageLayout {
  uint32_t format = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t stride = 0;
};

// Whether pixels of that format can be converted here; the bytes of one.
bool IsKnownFormat(uint32_t format);
uint32_t BytesPerPixel(uint32_t format);

// A buffer of the compositor's over a segment of its own.
class SharedImage {
 public:
  // Without a buffer, and with one line in `problem`, when the layout can't be or there is no
  // memory. The pool and the connection outlive it. Throws std::bad_alloc.
  SharedImage(Connection& connection, SegmentPool& pool, const ImageLayout& layout,
              std::string& problem);
  SharedImage(const SharedImage&) = delete;
  SharedImage& operator=(const SharedImage&) = delete;
  ~SharedImage();

  uint32_t buffer() const { return buffer_; }  // 0 without

  // What the compositor has written, upright. It lies in the segment itself where it can. Empty
  // when there is no memory.
  Frame ToFrame(Orientation orientation, bool isInverted) const;

 private:
  Connection& connection_;
  ImageLayout layout_;
  std::shared_ptr<Segment> segment_;
  uint32_t buffer_ = 0;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SHARED_IMAGE_H_
