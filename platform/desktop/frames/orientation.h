// How an output's pixels lie in what it sends, and how they come upright.
#ifndef PLATFORM_DESKTOP_FRAMES_ORIENTATION_H_
#define PLATFORM_DESKTOP_FRAMES_ORIENTATION_H_

#include "platform/desktop/frames/frame.h"

#include <cstdint>

namespace qrv::desktop {

// Turned by that many degrees against the clock, after being mirrored left to right if it is
// mirrored. The numbers are wl_output's transforms.
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

// The same pixels upright. `isInverted`: its rows come from bottom to top. Throws std::bad_alloc.
Frame Upright(const Frame& frame, Orientation orientation, bool isInverted);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_FRAMES_ORIENTATION_H_
