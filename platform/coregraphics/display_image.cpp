// Images of displays, over the memory that the desktop delivered.
#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

#include <QRV/Desktop.h>
#include "platform/coregraphics/bitmap.h"
#include "platform/coregraphics/rectangles.h"
#include "platform/desktop/frame.h"
#include "platform/guarded.h"
#include "platform/pixels/resample.h"

using qrv::coregraphics::Edges;
using qrv::desktop::Display;
using qrv::desktop::PixelRect;

namespace {

CGImageRef NewImage(const qrv::desktop::Frame& frame) {
  return new CGImage{frame.owner,
                     frame.pixels,
                     static_cast<size_t>(frame.width),
                     static_cast<size_t>(frame.height),
                     frame.rowBytes,
                     qrv::coregraphics::kDesktopLayout,
                     CGColorSpaceCreateDeviceRGB()};
}

// Null when there are no such pixels.
CGImageRef CaptureImage(const Display& display, const PixelRect& part) {
  const qrv::desktop::Frame frame =
      qrv::desktop::Capture(display, part, qrv::desktop::Strategy::kDisplayImage);
  return frame ? NewImage(frame) : nullptr;
}

// An image of those units of the display, one pixel a unit, averaged from the pixels that they
// have.
CGImageRef AverageImage(const Display& display, const PixelRect& units) {
  using namespace qrv::pixels;
  const AxisMap columns =
      MapAxis({{0, display.bounds.width}, display.pixelWidth}, {units.x, units.x + units.width},
              {0, units.width}, {0, units.width});
  const AxisMap rows =
      MapAxis({{0, display.bounds.height}, display.pixelHeight}, {units.y, units.y + units.height},
              {0, units.height}, {0, units.height});
  const PixelRect part = {columns.FirstSource(), rows.FirstSource(),
                          columns.EndOfSource() - columns.FirstSource(),
                          rows.EndOfSource() - rows.FirstSource()};
  const qrv::desktop::Frame dense =
      qrv::desktop::Capture(display, part, qrv::desktop::Strategy::kDisplayImage);
  if (!dense) return nullptr;
  const qrv::desktop::Frame frame = qrv::desktop::NewFrame(units.width, units.height);
  if (!frame) throw std::bad_alloc();
  Resampler resampler(columns, rows, dense.pixels, dense.rowBytes);
  for (int32_t y = 0; y < units.height; ++y) {
    memcpy(qrv::desktop::FrameRow(frame, y), resampler.Row(static_cast<size_t>(y)), frame.rowBytes);
  }
  return NewImage(frame);
}

// The units of the display that the rectangle, in units from its top-left corner, touches.
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

}  // namespace

CGImageRef CGDisplayCreateImage(CGDirectDisplayID displayID) {
  CGImageRef image = nullptr;
  qrv::Guarded([&] {
    const std::optional<Display> display = qrv::desktop::FindDisplay(displayID);
    if (!display) return;
    image = CaptureImage(*display, {0, 0, display->pixelWidth, display->pixelHeight});
  });
  return image;
}

CGImageRef CGDisplayCreateImageForRect(CGDirectDisplayID displayID, CGRect rect) {
  CGImageRef image = nullptr;
  qrv::Guarded([&] {
    const std::optional<Display> display = qrv::desktop::FindDisplay(displayID);
    if (!display) return;
    const std::optional<PixelRect> units = TouchedUnits(*display, rect);
    if (!units) return;
    const bool isDense = display->pixelWidth != display->bounds.width ||
                         display->pixelHeight != display->bounds.height;
    image = isDense ? AverageImage(*display, *units) : CaptureImage(*display, *units);
  });
  return image;
}
