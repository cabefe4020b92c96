#include "platform/desktop/display.h"

#include <algorithm>
#include <iterator>

namespace qrv::desktop {
namespace {

struct Depth {
  int32_t bitsPerPixel;
  int32_t bitsPerSample;
  int32_t samplesPerPixel;
  int16_t quickDrawPixelSize;
};
constexpr Depth kDepths[] = {{32, 8, 3, 32}, {30, 10, 3, 32}, {16, 5, 3, 16}, {8, 8, 1, 8}};

}  // namespace

bool SetDepth(int32_t bitsPerPixel, Display& display) {
  const Depth* const depth =
      std::find_if(std::begin(kDepths), std::end(kDepths),
                   [bitsPerPixel](const Depth& each) { return each.bitsPerPixel == bitsPerPixel; });
  if (depth == std::end(kDepths)) return false;
  display.bitsPerPixel = depth->bitsPerPixel;
  display.bitsPerSample = depth->bitsPerSample;
  display.samplesPerPixel = depth->samplesPerPixel;
  display.quickDrawPixelSize = depth->quickDrawPixelSize;
  return true;
}

}  // namespace qrv::desktop
