#include "platform/desktop/x11/segments.h"

#include <fcntl.h>
#include <xcb/shm.h>

namespace qrv::desktop {
namespace {

// A connection is lost when the descriptor that comes with a reply finds no place.
bool HasFreeDescriptor(int any) {
  return static_cast<bool>(UniqueFd(fcntl(any, F_DUPFD_CLOEXEC, 0)));
}

}  // namespace

std::shared_ptr<Segment> X11Segments::Create(size_t size, const char*& refusal) {
  xcb_connection_t* const xcb = connection_.get();
  if (!HasFreeDescriptor(xcb_get_file_descriptor(xcb))) {
    refusal = "there is no descriptor left for shared memory";
    return nullptr;
  }
  const xcb_shm_seg_t id = xcb_generate_id(xcb);
  const auto cookie = xcb_shm_create_segment(xcb, id, static_cast<uint32_t>(size), 0);
  const auto reply = connection_.AwaitShort<xcb_shm_create_segment_reply_t>(cookie.sequence);
  if (!reply || reply->nfd != 1) {
    refusal = "the X server refuses shared memory";
    return nullptr;
  }
  const UniqueFd fd(*xcb_shm_create_segment_reply_fds(xcb, reply.get()));
  fcntl(fd.get(), F_SETFD, FD_CLOEXEC);
  auto segment = std::make_shared<Segment>(id, fd.get(), size);
  if (segment->memory() != nullptr) return segment;
  refusal = "there is no room for shared memory";
  xcb_shm_detach(xcb, id);
  return nullptr;
}

void X11Segments::TellToForget(const Segment& segment) {
  xcb_shm_detach(connection_.get(), segment.id());
}

}  // namespace qrv::desktop
