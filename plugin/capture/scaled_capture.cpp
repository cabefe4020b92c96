// Captures of a rectangle of the desktop scaled to another size, from QuickDraw's devices.

#include "plugin/capture/methods.h"
#include "plugin/capture/screen_devices.h"
#include "plugin/capture/wrapping.h"

namespace {

using capture::DeviceRequest;
using capture::WrappingDivide;
using capture::WrappingMultiply;
using capture::WrappingSubtract;

// Maps an edge of the source into the picture. Two devices that share an edge map it to the same
// position, so there is neither gap nor overlap between their scaled parts.
int32_t MapEdge(int32_t edge, int32_t origin, int32_t size, int32_t destinationSize) {
  return WrappingDivide(WrappingMultiply(WrappingSubtract(edge, origin), destinationSize), size);
}

Rect ScalePart(const DeviceRequest& request, const Rect& part) {
  const auto mapX = [&request](int32_t x) {
    return MapEdge(x, request.left, request.width, request.destinationWidth);
  };
  const auto mapY = [&request](int32_t y) {
    return MapEdge(y, request.top, request.height, request.destinationHeight);
  };
  return capture::MakeRect(mapY(part.top), mapX(part.left), mapY(part.bottom), mapX(part.right));
}

}  // namespace

REALpictureStruct* ScreenshotRectDestQRV(int32_t left, int32_t top, int32_t width, int32_t height,
                                         int32_t destwidth, int32_t destheight) {
  return capture::PictureOfDevices({left, top, width, height, destwidth, destheight}, ScalePart);
}
