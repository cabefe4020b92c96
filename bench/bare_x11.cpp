#include "bench/bare_x11.h"

#include <sys/mman.h>
#include <unistd.h>
#include <xcb/shm.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace qrv::bench {
namespace {

template <typename T>
using Reply = std::unique_ptr<T, decltype(&std::free)>;

}  // namespace

BareX11::BareX11(const std::string& display, uint16_t width, uint16_t height)
    : xcb_(xcb_connect(display.c_str(), nullptr)),
      width_(width),
      height_(height),
      size_(size_t{width} * height * 4) {
  if (xcb_connection_has_error(xcb_)) throw std::runtime_error("no X server at " + display);
  root_ = xcb_setup_roots_iterator(xcb_get_setup(xcb_)).data->root;
  segment_ = xcb_generate_id(xcb_);
  const auto cookie = xcb_shm_create_segment(xcb_, segment_, static_cast<uint32_t>(size_), 0);
  const Reply<xcb_shm_create_segment_reply_t> reply(
      xcb_shm_create_segment_reply(xcb_, cookie, nullptr), &std::free);
  if (!reply) throw std::runtime_error("no shared memory at " + display);
  const int fd = *xcb_shm_create_segment_reply_fds(xcb_, reply.get());
  void* const memory = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  if (memory == MAP_FAILED) throw std::runtime_error("no memory for " + display);
  memory_ = static_cast<uint8_t*>(memory);
  Capture();
  for (size_t i = 0; i < size_; i += 4096) static_cast<volatile uint8_t*>(memory_)[i] = 0;
}

BareX11::~BareX11() {
  if (memory_ != nullptr) munmap(memory_, size_);
  xcb_disconnect(xcb_);
}

bool BareX11::Capture() {
  const auto cookie = xcb_shm_get_image(xcb_, root_, 0, 0, width_, height_, ~0U,
                                        XCB_IMAGE_FORMAT_Z_PIXMAP, segment_, 0);
  const Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(xcb_, cookie, nullptr),
                                               &std::free);
  return reply != nullptr;
}

}  // namespace qrv::bench
