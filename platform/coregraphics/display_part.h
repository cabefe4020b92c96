// A part of a display that an image shows: captured when the image is drawn first, so that the
// parts of several displays that are drawn into one bitmap can be under way at once, and whoever
// draws the image has its memory ready meanwhile.
#ifndef PLATFORM_COREGRAPHICS_DISPLAY_PART_H_
#define PLATFORM_COREGRAPHICS_DISPLAY_PART_H_

#include <QRV/Desktop.h>

#include "platform/pixels/resample.h"

namespace qrv::coregraphics {

class DisplayPart {
 public:
  // Units from the display's top-left corner, which lie within it; there are some. Each is a pixel,
  // averaged from those that the display has for it. Throws std::bad_alloc.
  DisplayPart(const desktop::Display& display, const desktop::PixelRect& units);

  // All of the display, in its own pixels.
  explicit DisplayPart(const desktop::Display& display)
      : share_{display, {0, 0, display.pixelWidth, display.pixelHeight}} {}

  // The display's own pixels.
  const desktop::Share& share() const { return share_; }

  // Has the pixels captured as they are now. True when that is under way, or done; one capture of a
  // part is under way at a time: a later part that shows the same takes its place.
  bool Begin();
  // Whether it was: then they are to be had, unless something went wrong.
  bool isBegun() const { return isBegun_; }

  // The same ones each time. Empty when they can't be had. Throws std::bad_alloc.
  desktop::Frame Capture();

 private:
  // Both are empty where nothing is scaled.
  pixels::AxisMap columns_;
  pixels::AxisMap rows_;
  desktop::Share share_;
  desktop::Frame frame_;  // once captured
  bool isBegun_ = false;
};

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_DISPLAY_PART_H_
