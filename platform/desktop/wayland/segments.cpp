#include "platform/desktop/wayland/segments.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/desktop/wayland/protocol.h"

namespace qrv::desktop::wayland {

std::shared_ptr<Segment> WaylandSegments::Create(size_t size, const char*& refusal) {
  const UniqueFd file(memfd_create("screenshot", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file || ftruncate64(file.get(), static_cast<off64_t>(size)) != 0) {
    refusal = file ? "there is no room for shared memory"
                   : "there is no descriptor left for shared memory";
    return nullptr;
  }
  // The compositor gets the file too, and could take away what is mapped here.
  fcntl(file.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_SEAL);
  const uint32_t pool = connection_.NewObject();
  auto segment = std::make_shared<Segment>(pool, file.get(), size);
  if (segment->memory() == nullptr) {
    refusal = "there is no room for shared memory";
    connection_.GiveBack(pool);
    return nullptr;
  }
  connection_.Send(shm_, kShmCreatePool, {pool, static_cast<uint32_t>(size)}, file.get());
  return segment;
}

void WaylandSegments::TellToForget(const Segment& segment) {
  connection_.Send(segment.id(), kPoolDestroy, {});
}

}  // namespace qrv::desktop::wayland
