// The minimum that a capture of an X screen can cost: one request on an idle connection, into a
// segment whose pages are mapped in both processes.
#ifndef BENCH_BARE_X11_H_
#define BENCH_BARE_X11_H_

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace qrv::bench {

class BareX11 {
 public:
  // Throws std::runtime_error when the server or its shared memory is unavailable.
  BareX11(const std::string& display, uint16_t width, uint16_t height);
  BareX11(const BareX11&) = delete;
  BareX11& operator=(const BareX11&) = delete;
  ~BareX11();

  // One capture from the screen's top-left corner into `memory()`. False when the server refuses.
  bool Capture();

  const uint8_t* memory() const { return memory_; }
  size_t size() const { return size_; }

 private:
  xcb_connection_t* xcb_;
  xcb_window_t root_ = 0;
  uint16_t width_;
  uint16_t height_;
  size_t size_;
  uint32_t segment_ = 0;
  uint8_t* memory_ = nullptr;
};

}  // namespace qrv::bench

#endif  // BENCH_BARE_X11_H_
