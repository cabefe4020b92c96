#include "runtime/desktop_view.h"

#include <QRV/Desktop.h>

namespace qrv::runtime {

namespace {

static_assert(kDisplayImage == static_cast<unsigned>(desktop::Strategy::kDisplayImage));
static_assert(kOpenGL == static_cast<unsigned>(desktop::Strategy::kOpenGL));
static_assert(kQuickDraw == static_cast<unsigned>(desktop::Strategy::kQuickDraw));

DisplayInfo Describe(const desktop::Display& display, bool isMain) {
  const desktop::PixelRect& bounds = display.bounds;
  return {display.id,
          bounds.x,
          bounds.y,
          bounds.width,
          bounds.height,
          display.offsetX,
          display.offsetY,
          display.pixelWidth,
          display.pixelHeight,
          display.bitsPerPixel,
          isMain,
          display.name};
}

}  // namespace

std::optional<std::vector<DisplayInfo>> ListDisplays() {
  const std::vector<desktop::Display>* const listed = desktop::RefreshDisplays();
  if (listed == nullptr) return std::nullopt;
  std::vector<DisplayInfo> displays;
  for (const desktop::Display& each : *listed) {
    displays.push_back(Describe(each, displays.empty()));
  }
  return displays;
}

std::string DesktopName() { return desktop::DesktopName(); }

std::string DesktopWay() { return desktop::DesktopWay(); }

void TellOfWaiting(void (*tell)(const char* words)) { desktop::DesktopTellsOfWaiting(tell); }

std::string DesktopProblem() { return desktop::DesktopProblem(); }

std::string DesktopAdvice() { return desktop::DesktopAdvice(); }

bool DesktopChoiceIsWrong() { return desktop::DesktopChoiceIsWrong(); }

std::string DesktopNote() { return desktop::DesktopNote(); }

std::string DesktopChoices() { return desktop::DesktopChoices(); }

unsigned TakeStrategiesUsed() { return desktop::TakeStrategies(); }

}  // namespace qrv::runtime
