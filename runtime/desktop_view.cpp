#include "runtime/desktop_view.h"

#include <ApplicationServices/ApplicationServices.h>

#include <QRV/Desktop.h>

namespace qrv::runtime {

namespace {

static_assert(kDisplayImage == static_cast<unsigned>(desktop::Strategy::kDisplayImage));
static_assert(kOpenGL == static_cast<unsigned>(desktop::Strategy::kOpenGL));
static_assert(kQuickDraw == static_cast<unsigned>(desktop::Strategy::kQuickDraw));

constexpr uint32_t kMaximumDisplays = 32;  // that a capture by index can name

DisplayInfo Describe(CGDirectDisplayID id) {
  DisplayInfo info;
  info.id = id;
  const CGRect bounds = CGDisplayBounds(id);
  info.x = static_cast<int32_t>(bounds.origin.x);
  info.y = static_cast<int32_t>(bounds.origin.y);
  info.width = static_cast<int32_t>(bounds.size.width);
  info.height = static_cast<int32_t>(bounds.size.height);
  if (const auto display = desktop::FindDisplay(id)) {
    info.pixelWidth = display->pixelWidth;
    info.pixelHeight = display->pixelHeight;
    info.bitsPerPixel = display->bitsPerPixel;
  }
  return info;
}

}  // namespace

std::optional<std::vector<DisplayInfo>> ListDisplays() {
  CGDirectDisplayID ids[kMaximumDisplays] = {};
  CGDisplayCount count = 0;
  if (CGGetActiveDisplayList(kMaximumDisplays, ids, &count) != kCGErrorSuccess) return std::nullopt;
  std::vector<DisplayInfo> displays;
  for (CGDisplayCount index = 0; index < count; ++index) {
    displays.push_back(Describe(ids[index]));
    displays.back().isMain = index == 0;
  }
  return displays;
}

std::string DesktopName() { return desktop::DesktopName(); }

std::string DesktopProblem() { return desktop::DesktopProblem(); }

std::string DesktopAdvice() { return desktop::DesktopAdvice(); }

std::string DesktopNote() { return desktop::DesktopNote(); }

std::string DesktopChoices() { return desktop::DesktopChoices(); }

unsigned TakeStrategiesUsed() { return desktop::TakeStrategies(); }

}  // namespace qrv::runtime
