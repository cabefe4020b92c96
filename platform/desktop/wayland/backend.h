// What a backend does: it captures outputs.
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

  // Captures from now on are another call's.
  virtual void BeginCapture() {}

  // A region of the output's pixels, upright, by the deadline, other than for a person's answer.
  // Throws Error.
  virtual Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                        Deadline deadline) = 0;

  // Whether the pointer can be shown.
  virtual bool HasPointer() const { return true; }

  // What a person finds in the compositor's documentation.
  virtual const char* Name() const = 0;
};

inline constexpr char kNotOffered[] = "not offered";
inline constexpr char kOutOfOrder[] = "an event of a frame comes out of order";
inline constexpr char kCaptureRefused[] = "the compositor refuses to give the pixels";

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_BACKEND_H_
