// Images of displays, over the memory that the desktop delivered.
#include <ApplicationServices/CoreGraphics.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <optional>
#include <utility>

#include "platform/coregraphics/geometry.h"
#include "platform/coregraphics/image.h"
#include "platform/coregraphics/pixel_layout.h"
#include "platform/desktop/session.h"

using qrv::coregraphics::Edges;
using qrv::desktop::Display;
using qrv::desktop::PixelRect;

namespace {

CGImageRef CaptureImage(const Display& display, const PixelRect& part) {
  qrv::desktop::Frame frame =
      qrv::desktop::Capture(display, part, qrv::desktop::Reader::kDisplayImage);
  if (!frame) return nullptr;
  return new CGImage{std::move(frame.owner),
                     frame.pixels,
                     static_cast<size_t>(frame.width),
                     static_cast<size_t>(frame.height),
                     frame.rowBytes,
                     qrv::coregraphics::kDesktopBitmapInfo,
                     CGColorSpaceCreateDeviceRGB()};
}

struct Run {
  int32_t start;
  int32_t length;
};

// The pixels that the units from `from` to `to` touch, of an axis of `units` units that are
// `pixels` pixels.
Run TouchedPixels(double from, double to, int32_t units, int32_t pixels) {
  const double scale = static_cast<double>(pixels) / units;
  const double start = std::clamp<double>(std::floor(from * scale), 0, pixels);
  const double end = std::clamp<double>(std::ceil(to * scale), 0, pixels);
  return {static_cast<int32_t>(start), static_cast<int32_t>(end - start)};
}

// The display's pixels that the rectangle, in units from its top-left corner, touches.
std::optional<PixelRect> PartInPixels(const Display& display, CGRect rect) {
  const std::optional<Edges> edges = qrv::coregraphics::EdgesOf(rect);
  if (!edges || edges->left == edges->right || edges->top == edges->bottom) return std::nullopt;
  const Run x = TouchedPixels(edges->left, edges->right, display.bounds.width, display.pixelWidth);
  const Run y =
      TouchedPixels(edges->top, edges->bottom, display.bounds.height, display.pixelHeight);
  if (x.length <= 0 || y.length <= 0) return std::nullopt;
  return PixelRect{x.start, y.start, x.length, y.length};
}

}  // namespace

CGImageRef CGDisplayCreateImage(CGDirectDisplayID displayID) try {
  const std::optional<Display> display = qrv::desktop::FindDisplay(displayID);
  if (!display) return nullptr;
  return CaptureImage(*display, {0, 0, display->pixelWidth, display->pixelHeight});
} catch (const std::exception&) {
  return nullptr;
}

CGImageRef CGDisplayCreateImageForRect(CGDirectDisplayID displayID, CGRect rect) try {
  const std::optional<Display> display = qrv::desktop::FindDisplay(displayID);
  if (!display) return nullptr;
  const std::optional<PixelRect> part = PartInPixels(*display, rect);
  if (!part) return nullptr;
  return CaptureImage(*display, *part);
} catch (const std::exception&) {
  return nullptr;
}
