// An output as a display.
#ifndef PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_
#define PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_

#include <cstdint>

#include "platform/desktop/display.h"
#include "platform/desktop/orientation.h"

namespace qrv::desktop::wayland {

struct PlacedOutput {
  Display display;
  uint32_t object = 0;
  Orientation orientation = Orientation::kUpright;  // of its pixels before they are turned
  PixelRect logical;                                // in the compositor's space
  PixelRect desktop;                                // the space that all outputs take together

  bool operator==(const PlacedOutput&) const = default;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_PLACED_OUTPUT_H_
