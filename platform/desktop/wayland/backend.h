// The interface of backends, which capture outputs.
#ifndef PLATFORM_DESKTOP_WAYLAND_BACKEND_H_
#define PLATFORM_DESKTOP_WAYLAND_BACKEND_H_

#include <memory>

#include "platform/desktop/deadline.h"
#include "platform/desktop/error.h"
#include "platform/desktop/frames/frame.h"
#include "platform/desktop/frames/pointer.h"
#include "platform/desktop/wayland/placed_output.h"

namespace qrv::desktop::wayland {

class Backend {
 public:
  Backend() = default;
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;
  virtual ~Backend() = default;

  // Called when the captures of another call begin.
  virtual void BeginCapture() {}

  // A region of the output's pixels, upright. Ends by the deadline, except that a person who is
  // asked may take longer. Throws Error.
  virtual Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                        Deadline deadline) = 0;

  // Whether it can show the pointer.
  virtual bool hasPointer() const { return true; }

  // As in the compositor's documentation.
  virtual const char* name() const = 0;
};

inline constexpr char kNotOffered[] = "not offered";
inline constexpr char kOutOfOrder[] = "a frame's event is out of order";
inline constexpr char kCaptureRefused[] = "the compositor refuses the capture";

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_BACKEND_H_
