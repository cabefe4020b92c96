// What one capture shows, as the plug-in is asked for it.
#ifndef CLI_CAPTURE_SHOT_H_
#define CLI_CAPTURE_SHOT_H_

#include <cstdint>
#include <optional>
#include <string>

#include "cli/arguments.h"
#include "cli/capture/desktop_choice.h"

namespace qrv::cli {

struct Shot {
  std::string subject;             // what it shows, in words
  std::optional<int32_t> display;  // this one, whole and in its own pixels
  Rect area;                       // else this, in units from the main display's corner
  double density = 1;              // of the densest display in it, pixels a unit
  Size pixels;                     // of the picture
  bool isScaled = false;           // to that size
};

// What the arguments ask for: a display, a rectangle, or the whole desktop. Throws Failure when
// that can't be had as asked.
Shot ChooseShot(const Arguments& arguments, const Displays& displays);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_SHOT_H_
