// A rectangle of displays that have more pixels than units, in all their pixels.
#ifndef CLI_CAPTURE_DENSE_RECT_H_
#define CLI_CAPTURE_DENSE_RECT_H_

#include <string>

#include "cli/capture/desktop_choice.h"
#include "cli/image/image_file.h"
#include "runtime/host.h"

namespace qrv::cli {

// The rectangle, in units from the main display's corner, at the density of the densest display
// that it meets, cut and composed of whole displays; those that are less dense are enlarged to the
// nearest pixel. What lies on no display is black. Throws Failure, naming `subject`.
Rows CaptureDenseRect(runtime::Host& host, const Displays& displays, const Rect& rect,
                      const std::string& subject);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_DENSE_RECT_H_
