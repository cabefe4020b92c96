// What a kind of desktop is to the session: a list of displays and their pixels. The types, units
// and coordinates are those of <QRV/Desktop.h>.
#ifndef PLATFORM_DESKTOP_DESKTOP_H_
#define PLATFORM_DESKTOP_DESKTOP_H_

#include <QRV/Desktop.h>

#include <span>
#include <vector>

namespace qrv::desktop {

class Desktop {
 public:
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;
  virtual ~Desktop() = default;

  // The displays as they are now, main display first. False when the desktop can't be reached;
  // the next call tries again. Throws nothing but std::bad_alloc.
  virtual bool ListDisplays(std::vector<Display>& displays) = 0;

  // The pixels of a part of a display of the latest list, as they are now. `part` is not empty and
  // lies within the display's pixels. An empty frame when they can't be had: with `isGone` set, the
  // desktop has that display no more; else it was lost since the list was made, does not answer in
  // time, refuses, or there is no memory.
  virtual Frame Capture(const Display& display, const PixelRect& part, bool& isGone) = 0;

  // All of these parts of displays are captured next, unless the list is made anew before. True
  // when each is under way: its pixels are as they are now. Throws nothing but std::bad_alloc.
  virtual bool Expect(std::span<const Share>) { return false; }

  // What a person calls it: "X11 :0", "the virtual desktop". Lives as long as the desktop.
  virtual const char* Name() const = 0;

  // The way that pixels come, as the other side's documentation calls it: "MIT-SHM". Empty while
  // nothing is known of it.
  virtual const char* Way() const { return ""; }

  // One line on why the last call failed; empty when it didn't. Valid until the next call.
  virtual const char* Problem() const { return ""; }

  // One line on why the last capture was slower than it need be; empty when it wasn't. Valid until
  // the next call.
  virtual const char* Note() const { return ""; }
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DESKTOP_H_
