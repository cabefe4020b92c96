// The displays of the desktop. CGMainDisplayID and CGGetActiveDisplayList ask the desktop; all
// others answer from the latest list.
#include "platform/coregraphics/display_list.h"

#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <bit>
#include <optional>
#include <vector>

#include "platform/corefoundation/object.h"
#include "platform/desktop/session.h"
#include "platform/system_version.h"

using qrv::desktop::Display;

namespace {

constexpr size_t kMaskBits = 32;

// The first system whose display modes state their samples.
constexpr qrv::Version kModesStateSamples = {10, 5};

// Whether programs that see this mode read the display back.
bool IsReadBack(const Display& display) {
  return display.bitsPerSample >= 8 && display.samplesPerPixel >= 3;
}

__CFDictionary currentMode;  // of the latest call

}  // namespace

CGDirectDisplayID CGMainDisplayID() {
  const std::vector<Display>* displays = qrv::desktop::RefreshDisplays();
  if (displays == nullptr || displays->empty()) return kCGNullDirectDisplay;
  return displays->front().id;
}

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* displays,
                               CGDisplayCount* displayCount) {
  if (displays == nullptr || displayCount == nullptr) return kCGErrorIllegalArgument;
  *displayCount = 0;
  const std::vector<Display>* active = qrv::desktop::RefreshDisplays();
  if (active == nullptr) return kCGErrorFailure;
  const size_t count = std::min<size_t>(maxDisplays, active->size());
  for (size_t i = 0; i < count; ++i) displays[i] = (*active)[i].id;
  *displayCount = static_cast<CGDisplayCount>(count);
  return kCGErrorSuccess;
}

CGRect CGDisplayBounds(CGDirectDisplayID display) {
  const auto found = qrv::desktop::FindDisplay(display);
  if (!found) return {};
  const qrv::desktop::PixelRect& bounds = found->bounds;
  return {{static_cast<CGFloat>(bounds.x), static_cast<CGFloat>(bounds.y)},
          {static_cast<CGFloat>(bounds.width), static_cast<CGFloat>(bounds.height)}};
}

CFDictionaryRef CGDisplayCurrentMode(CGDirectDisplayID id) {
  const std::optional<Display> display = qrv::desktop::FindDisplay(id);
  if (!display) return nullptr;
  currentMode.count = 0;
  if (!qrv::SystemIsAtLeast(kModesStateSamples)) return &currentMode;
  // A caller that asks for the modes of all displays then reads each back into a picture without
  // checking for failures. So a display that can't be captured has no mode.
  if (IsReadBack(*display) && !qrv::desktop::FrameBuffer(*display)) return nullptr;
  currentMode = {{{"BitsPerSample", {display->bitsPerSample}},
                  {"SamplesPerPixel", {display->samplesPerPixel}}},
                 2};
  return &currentMode;
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display) {
  const std::vector<Display>* displays = qrv::desktop::LatestDisplays();
  if (displays == nullptr) return 0;
  const auto found = std::find_if(displays->begin(), displays->end(),
                                  [=](const Display& each) { return each.id == display; });
  const auto bit = static_cast<size_t>(found - displays->begin());
  return bit < std::min(kMaskBits, displays->size()) ? CGOpenGLDisplayMask{1} << bit : 0;
}

std::optional<Display> qrv::coregraphics::DisplayOfMask(CGOpenGLDisplayMask mask) noexcept {
  const std::vector<Display>* displays = qrv::desktop::LatestDisplays();
  const auto bit = static_cast<size_t>(std::countr_zero(mask));
  if (mask == 0 || displays == nullptr || bit >= displays->size()) return std::nullopt;
  return (*displays)[bit];
}
