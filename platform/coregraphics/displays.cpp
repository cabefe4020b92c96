// The displays of the desktop. CGMainDisplayID and CGGetActiveDisplayList ask the desktop anew;
// everything else answers from the list that they got last.
#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <exception>
#include <memory>

#include "platform/corefoundation/object.h"
#include "platform/coregraphics/display_mask.h"
#include "platform/coreservices/system_version.h"
#include "platform/desktop/session.h"

using qrv::desktop::Display;

namespace {

struct DictionaryRelease {
  void operator()(__CFDictionary* dictionary) const { dictionary->Release(); }
};
using Dictionary = std::unique_ptr<__CFDictionary, DictionaryRelease>;

// The first system whose display modes state their samples.
constexpr qrv::coreservices::Version kModesStateSamples = {10, 5};

Dictionary MakeMode(const Display& display) {
  Dictionary mode(new __CFDictionary);
  if (qrv::coreservices::SystemVersion().IsAtLeast(kModesStateSamples)) {
    mode->Add("BitsPerSample", display.bitsPerSample);
    mode->Add("SamplesPerPixel", display.samplesPerPixel);
  }
  return mode;
}

}  // namespace

CGDirectDisplayID CGMainDisplayID() {
  const auto* displays = qrv::desktop::RefreshDisplays();
  if (displays == nullptr || displays->empty()) return kCGNullDirectDisplay;
  return displays->front().id;
}

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* displays,
                               CGDisplayCount* displayCount) {
  if (displays == nullptr || displayCount == nullptr) return kCGErrorIllegalArgument;
  *displayCount = 0;
  const auto* active = qrv::desktop::RefreshDisplays();
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

CFDictionaryRef CGDisplayCurrentMode(CGDirectDisplayID display) try {
  static Dictionary currentMode;  // of the latest call
  currentMode.reset();
  const auto found = qrv::desktop::FindDisplay(display);
  if (found) currentMode = MakeMode(*found);
  return currentMode.get();
} catch (const std::exception&) {
  return nullptr;
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display) {
  return qrv::coregraphics::MaskOfDisplay(display);
}
