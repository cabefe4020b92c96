// What a kind of desktop is to the session: a list of displays, and their pixels.
#ifndef PLATFORM_DESKTOP_DESKTOP_H_
#define PLATFORM_DESKTOP_DESKTOP_H_

#include <vector>

#include "platform/desktop/deadline.h"
#include "platform/desktop/display.h"
#include "platform/desktop/error.h"
#include "platform/desktop/frames/frame.h"
#include "platform/desktop/frames/pointer.h"
#include "platform/desktop/window.h"

namespace qrv::desktop {

// Calls end by their deadline, other than for a person's answer. They throw Error or
// std::bad_alloc.
class Desktop {
 public:
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  // The displays as they are now, main display first. The next call after a failure tries again.
  virtual std::vector<Display> ListDisplays(Deadline deadline) = 0;

  // The pixels of a region of a display of the latest list, as they are now. The region is not
  // empty and lies within the display's pixels. Throws DisplayGone when the display is gone, and
  // Error with Reason::kDisplayChanged when it has changed. A pointer that is to be shown is where
  // the desktop shows it; Note() says when the desktop can't.
  virtual Frame Capture(const Display& display, const PixelRect& region, Pointer pointer,
                        Deadline deadline) = 0;

  // The windows as they are now, the top one first.
  virtual std::vector<Window> ListWindows(Deadline /*deadline*/) {
    throw Error(Reason::kUnsupported, "the desktop has no windows that are known here");
  }

  // What a person calls it: "X11 :0", "the virtual desktop". Lives as long as the desktop.
  virtual const char* Name() const = 0;

  // The backend, as the other side's documentation calls it: "MIT-SHM". Empty before the first
  // list.
  virtual const char* Backend() const { return ""; }

  // One line on why the last capture was slower than it need be; empty when it wasn't. Valid until
  // the next call.
  virtual const char* Note() const { return ""; }
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DESKTOP_H_
