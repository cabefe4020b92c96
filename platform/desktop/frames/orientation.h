// The orientation of an output's pixels, and turning them upright.
#ifndef PLATFORM_DESKTOP_FRAMES_ORIENTATION_H_
#define PLATFORM_DESKTOP_FRAMES_ORIENTATION_H_

#include "platform/desktop/frames/frame.h"

#include <cstdint>

namespace qrv::desktop {

// Rotated counter-clockwise by that many degrees, after mirroring left to right where the name says
// so. The values are wl_output's transforms.
enum class Orientation : uint32_t {
  kUpright,
  kTurned90,
  kTurned180,
  kTurned270,
  kMirrored,
  kMirrored90,
  kMirrored180,
  kMirrored270
};

inline bool SwapsSides(Orientation orientation) {
  return (static_cast<uint32_t>(orientation) & 1) != 0;
}

// Turns a frame upright. `isInverted`: its rows run from bottom to top. Throws std::bad_alloc.
Frame Upright(const Frame& frame, Orientation orientation, bool isInverted);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_ORIENTATION_H_
