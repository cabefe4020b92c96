// Images of displays as they are when the image is created, in the memory that the desktop
// delivers.
#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "platform/coregraphics/bitmap.h"
#include "platform/coregraphics/rectangles.h"
#include "platform/desktop/frames/resampled_frame.h"
#include "platform/guarded.h"

using qrv::coregraphics::Edges;
using qrv::desktop::Display;
using qrv::desktop::Frame;
using qrv::desktop::PixelRect;

namespace {

// The display's units that the rectangle touches, both counted from the display's top-left corner.
std::optional<PixelRect> TouchedUnits(const Display& display, CGRect rect) {
  const std::optional<Edges> edges = qrv::coregraphics::EdgesOf(rect);
  if (!edges) return std::nullopt;
  const auto clamp = [](double edge, int32_t length) {
    return static_cast<int32_t>(std::clamp<double>(edge, 0, length));
  };
  const int32_t left = clamp(std::floor(edges->left), display.bounds.width);
  const int32_t top = clamp(std::floor(edges->top), display.bounds.height);
  const int32_t right = clamp(std::ceil(edges->right), display.bounds.width);
  const int32_t bottom = clamp(std::ceil(edges->bottom), display.bounds.height);
  if (left >= right || top >= bottom) return std::nullopt;
  return PixelRect{left, top, right - left, bottom - top};
}

// Captures those units as one pixel each, averaged over the display's pixels.
Frame CaptureUnits(const Display& display, const PixelRect& units) {
  using namespace qrv::pixels;
  const AxisMap columns =
      MapAxis({{0, display.bounds.width}, display.pixelWidth}, {units.x, units.x + units.width},
              {0, units.width}, {0, units.width});
  const AxisMap rows =
      MapAxis({{0, display.bounds.height}, display.pixelHeight}, {units.y, units.y + units.height},
              {0, units.height}, {0, units.height});
  const Frame dense = qrv::desktop::Capture(display, qrv::desktop::SourceOf(columns, rows),
                                            qrv::desktop::Strategy::kDisplayImage);
  return dense ? qrv::desktop::Resampled(dense, columns, rows) : Frame{};
}

CGImageRef NewImage(const Frame& frame) {
  return frame ? new CGImage(qrv::coregraphics::ImageOf(frame)) : nullptr;
}

}  // namespace

CGImageRef CGDisplayCreateImage(CGDirectDisplayID displayID) {
  return qrv::Guarded<CGImageRef>(nullptr, [=]() -> CGImageRef {
    const std::optional<Display> display = qrv::desktop::FindDisplay(displayID);
    if (!display) return nullptr;
    return NewImage(qrv::desktop::Capture(*display, AllPixels(*display),
                                          qrv::desktop::Strategy::kDisplayImage));
  });
}

CGImageRef CGDisplayCreateImageForRect(CGDirectDisplayID displayID, CGRect rect) {
  return qrv::Guarded<CGImageRef>(nullptr, [=]() -> CGImageRef {
    const std::optional<Display> display = qrv::desktop::FindDisplay(displayID);
    if (!display) return nullptr;
    const std::optional<PixelRect> units = TouchedUnits(*display, rect);
    return units ? NewImage(CaptureUnits(*display, *units)) : nullptr;
  });
}
