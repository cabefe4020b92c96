#include "platform/desktop/wayland/segments.h"

#include "platform/desktop/wayland/protocol.h"

namespace qrv::desktop::wayland {

uint32_t WaylandSegments::Attach(int file, size_t size) {
  const uint32_t pool = connection_.NewObject();
  connection_.Send(shm_, kShmCreatePool, {pool, static_cast<uint32_t>(size)}, file);
  return pool;
}

void WaylandSegments::Detach(uint32_t id) { connection_.Destroy(id, kPoolDestroy); }

}  // namespace qrv::desktop::wayland
