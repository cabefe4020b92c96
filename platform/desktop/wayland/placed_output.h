// An output as a display.
#ifndef PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_
#define PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_

#include <cstdint>

#include "platform/desktop/display.h"
#include "platform/desktop/frames/orientation.h"

namespace qrv::desktop::wayland {

// The space that all outputs occupy together.
struct Space {
  PixelRect units;  // in the compositor's space
  // Bounds of the outputs' pixels per unit. They include 1, and allow for rounded sizes in units.
  double minDensity = 1;
  double maxDensity = 1;

  bool operator==(const Space&) const = default;
};

struct PlacedOutput {
  Display display;
  uint32_t object = 0;
  uint32_t changes = 0;  // Output::changes when it was placed
  Orientation orientation = Orientation::kUpright;
  PixelRect logical;  // in the compositor's space
  Space desktop;

  bool operator==(const PlacedOutput&) const = default;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_
