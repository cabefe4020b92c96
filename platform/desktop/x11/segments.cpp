#include "platform/desktop/x11/segments.h"

#include <xcb/shm.h>

namespace qrv::desktop::x11 {

uint32_t X11Segments::Attach(int file, size_t /*size*/) {
  const uint32_t id = connection_.NewId();
  constexpr uint32_t kReadOnly = 0;
  connection_.Send(connection_.shm(), XCB_SHM_ATTACH_FD, {id, kReadOnly}, {}, file);
  if (!connection_.AwaitSuccess()) {
    throw Error(Reason::kRefused, "the X server refuses shared memory");
  }
  return id;
}

void X11Segments::Detach(uint32_t id) { connection_.Send(connection_.shm(), XCB_SHM_DETACH, {id}); }

}  // namespace qrv::desktop::x11
