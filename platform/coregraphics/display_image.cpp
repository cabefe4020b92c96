// Images of displays: over the memory that the desktop delivered, or of parts yet to be captured.
#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include <QRV/Desktop.h>
#include "platform/coregraphics/bitmap.h"
#include "platform/coregraphics/display_part.h"
#include "platform/coregraphics/rectangles.h"
#include "platform/desktop/resampled_frame.h"
#include "platform/guarded.h"

using qrv::coregraphics::DisplayPart;
using qrv::coregraphics::Edges;
using qrv::desktop::Display;
using qrv::desktop::PixelRect;

namespace qrv::coregraphics {

DisplayPart::DisplayPart(const Display& display, const PixelRect& units)
    : columns_(pixels::MapAxis({{0, display.bounds.width}, display.pixelWidth},
                               {units.x, units.x + units.width}, {0, units.width},
                               {0, units.width})),
      rows_(pixels::MapAxis({{0, display.bounds.height}, display.pixelHeight},
                            {units.y, units.y + units.height}, {0, units.height},
                            {0, units.height})),
      share_{display, desktop::SourceOf(columns_, rows_)} {}

bool DisplayPart::Begin() {
  if (!frame_ && !isBegun_) isBegun_ = desktop::ExpectCaptures({&share_, 1});
  return frame_ || isBegun_;
}

desktop::Frame DisplayPart::Capture() {
  if (frame_) return frame_;
  const desktop::Frame dense =
      desktop::Capture(share_.display, share_.part, desktop::Strategy::kDisplayImage);
  if (!dense) return {};
  frame_ = desktop::Resampled(dense, columns_, rows_);
  if (!frame_) throw std::bad_alloc();
  return frame_;
}

CGImage* ImageOf(std::shared_ptr<DisplayPart> part, size_t width, size_t height) {
  if (!part->Begin()) {
    const desktop::Frame frame = part->Capture();
    return frame ? new CGImage(ImageOf(frame)) : nullptr;
  }
  return new CGImage{.owner = nullptr,
                     .pixels = nullptr,
                     .width = width,
                     .height = height,
                     .bytesPerRow = 0,
                     .layout = kDesktopLayout,
                     .colorSpace = CGColorSpaceCreateDeviceRGB(),
                     .toCapture = std::move(part)};
}

}  // namespace qrv::coregraphics

namespace {

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
    image = qrv::coregraphics::ImageOf(std::make_shared<DisplayPart>(*display),
                                       static_cast<size_t>(display->pixelWidth),
                                       static_cast<size_t>(display->pixelHeight));
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
    CGImage shown = qrv::coregraphics::ImageOf({{}, nullptr, units->width, units->height});
    shown.toCapture = std::make_shared<DisplayPart>(*display, *units);
    image = new CGImage(std::move(shown));
  });
  return image;
}
