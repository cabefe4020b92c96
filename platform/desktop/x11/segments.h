// Shared memory that an X server writes captured pixels into.
#ifndef PLATFORM_DESKTOP_X11_SEGMENTS_H_
#define PLATFORM_DESKTOP_X11_SEGMENTS_H_

#include "platform/desktop/peer/segments.h"
#include "platform/desktop/x11/connection.h"

namespace qrv::desktop::x11 {

class X11Segments : public SegmentPool {
 public:
  explicit X11Segments(Connection& connection) : connection_(connection) {}

 private:
  uint32_t Attach(int file, size_t size) override;
  void Detach(uint32_t id) override;

  Connection& connection_;
};

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_SEGMENTS_H_
