// Rectangles of displays that have more pixels than units, in all their pixels.
#ifndef CLI_CAPTURE_DENSE_RECT_H_
#define CLI_CAPTURE_DENSE_RECT_H_

#include <cstdint>
#include <string>

#include "cli/capture/desktop_choice.h"
#include "cli/image/image_file.h"
#include "runtime/host.h"

namespace qrv::cli {

// The pixels of the densest display that an area intersects, continued beyond it: edges in units
// are rounded to these once. So an area of one display is exactly a block of that display's pixels,
// and areas that touch have pictures that do.
class PixelGrid {
 public:
  // `area` is in units from the main display's corner, and intersects a display.
  PixelGrid(const Displays& displays, const Rect& area);

  double density() const { return 1.0 * display_.pixelWidth / display_.width; }  // pixels per unit
  int64_t X(int64_t units) const;
  int64_t Y(int64_t units) const;
  Size SizeOf(const Rect& area) const;

 private:
  QRVDisplay display_ = {};
};

// The rectangle, in units from the main display's corner, composed of whole displays on its pixel
// grid. Displays that are less dense are enlarged by interpolation. What lies on no display is
// black. Throws Failure, naming `subject`.
Rows CaptureDenseRect(runtime::Host& host, const Displays& displays, const Rect& rect,
                      const std::string& subject);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_DENSE_RECT_H_
