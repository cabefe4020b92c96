#include "platform/desktop/frames/orientation.h"

#include <libyuv/rotate_argb.h>

#include <new>

#include "platform/desktop/frames/frame.h"

namespace qrv::desktop {
namespace {

bool IsMirrored(Orientation orientation) { return orientation >= Orientation::kMirrored; }

uint32_t QuarterTurns(Orientation orientation) { return static_cast<uint32_t>(orientation) % 4; }

}  // namespace

// Undoing a turn and then mirroring left to right equals inverting the rows first and then undoing
// the turn, plus a half turn where the number of quarter turns is even.
Frame Upright(const Frame& frame, Orientation orientation, bool isInverted) {
  uint32_t turns = QuarterTurns(orientation);
  if (IsMirrored(orientation)) {
    isInverted = !isInverted;
    if (turns % 2 == 0) turns = 2 - turns;
  }
  if (turns == 0 && !isInverted) return frame;
  const bool swapsSides = turns % 2 != 0;
  Frame upright =
      swapsSides ? NewFrame(frame.height, frame.width) : NewFrame(frame.width, frame.height);
  constexpr libyuv::RotationMode kModes[] = {libyuv::kRotate0, libyuv::kRotate90,
                                             libyuv::kRotate180, libyuv::kRotate270};
  if (libyuv::ARGBRotate(frame.pixels, static_cast<int>(frame.rowBytes), upright.pixels,
                         static_cast<int>(upright.rowBytes), frame.width,
                         isInverted ? -frame.height : frame.height, kModes[turns]) != 0) {
    throw std::bad_alloc();
  }
  return upright;
}

}  // namespace qrv::desktop
