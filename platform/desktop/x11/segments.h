// Shared memory that an X server makes and writes captured pixels into.
#ifndef PLATFORM_DESKTOP_X11_SEGMENTS_H_
#define PLATFORM_DESKTOP_X11_SEGMENTS_H_

#include "platform/desktop/segments.h"
#include "platform/desktop/x11/connection.h"

namespace qrv::desktop {

class X11Segments : public SegmentPool {
 public:
  explicit X11Segments(Connection& connection) : connection_(connection) {}

 private:
  std::shared_ptr<Segment> Create(size_t size, const char*& refusal) override;
  void TellToForget(const Segment& segment) override;

  Connection& connection_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_SEGMENTS_H_
