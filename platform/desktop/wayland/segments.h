// Shared memory that a Wayland compositor writes captured pixels into.
#ifndef PLATFORM_DESKTOP_WAYLAND_SEGMENTS_H_
#define PLATFORM_DESKTOP_WAYLAND_SEGMENTS_H_

#include "platform/desktop/peer/segments.h"
#include "platform/desktop/wayland/connection.h"

namespace qrv::desktop::wayland {

// A segment's id is its wl_shm_pool.
class WaylandSegments : public SegmentPool {
 public:
  WaylandSegments(Connection& connection, uint32_t shm) : connection_(connection), shm_(shm) {}

 private:
  uint32_t Attach(int file, size_t size) override;
  void Detach(uint32_t id) override;

  Connection& connection_;
  uint32_t shm_;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SEGMENTS_H_
