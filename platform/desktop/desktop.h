// The interface of a desktop: a list of displays, and their pixels.
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

// Calls end by their deadline, except that a person who is asked may take longer. They throw Error
// and std::bad_alloc.
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

  // For messages: "X11 :0", "the virtual desktop". Valid as long as the desktop.
  virtual const char* name() const = 0;

  // The backend's name in the documentation of the server or compositor: "MIT-SHM". Empty before
  // the first list.
  virtual const char* backend() const { return ""; }

  // One line on why the last capture was slower than necessary; empty when it wasn't. Valid until
  // the next call.
  virtual const char* note() const { return ""; }
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DESKTOP_H_
