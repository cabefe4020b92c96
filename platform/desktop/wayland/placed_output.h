// An output as a display.
#ifndef PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_
#define PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_

#include <cstdint>

#include "platform/desktop/display.h"
#include "platform/desktop/frames/orientation.h"

namespace qrv::desktop::wayland {

// What all outputs take together.
struct Space {
  PixelRect units;  // in the compositor's space
  // The outputs' pixels per unit lie between these two. They include 1, and that sizes in units are
  // rounded.
  double leastDensity = 1;
  double mostDensity = 1;

  bool operator==(const Space&) const = default;
};

struct PlacedOutput {
  Display display;
  uint32_t object = 0;
  uint32_t changes = 0;                             // of the output until it was placed
  Orientation orientation = Orientation::kUpright;  // of its pixels before they are turned
  PixelRect logical;                                // in the compositor's space
  Space desktop;

  bool operator==(const PlacedOutput&) const = default;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_
