// Captures of a rectangle of the desktop at its own size, by three strategies. Each visits the
// displays one by one and puts each display's part of the rectangle at its position in one result.

#include "plugin/capture/display_choice.h"
#include "plugin/capture/methods.h"
#include "plugin/capture/opengl_readback.h"
#include "plugin/capture/screen_devices.h"
#include "plugin/capture/wrapping.h"
#include "plugin/picture/image_picture.h"
#include "plugin/picture/owned.h"
#include "plugin/picture/pixel_pass.h"

namespace {

using capture::DisplayList;
using capture::WrappingAdd;
using capture::WrappingSubtract;
using picture::Owned;

using OwnedSpace = Owned<CGColorSpaceRef, CGColorSpaceRelease>;
using OwnedBitmap = Owned<CGContextRef, CGContextRelease>;
using OwnedImage = Owned<CGImageRef, CGImageRelease>;

struct RectRequest {
  int32_t left;
  int32_t top;
  int32_t width;
  int32_t height;

  int32_t Right() const { return WrappingAdd(left, width); }
  int32_t Bottom() const { return WrappingAdd(top, height); }
};

// --- Display images, drawn into one bitmap ---

CGRect FloatRect(const RectRequest& request) {
  return {{static_cast<CGFloat>(request.left), static_cast<CGFloat>(request.top)},
          {static_cast<CGFloat>(request.width), static_cast<CGFloat>(request.height)}};
}

// Draws the display's part of the request at its position, unscaled. A display without an image
// contributes nothing.
void DrawPart(CGContextRef bitmap, const RectRequest& request, CGDirectDisplayID display) {
  const CGRect bounds = CGDisplayBounds(display);
  const CGRect part = CGRectIntersection(bounds, FloatRect(request));
  if (CGRectIsNull(part)) return;
  const CGRect onDisplay = {{part.origin.x - bounds.origin.x, part.origin.y - bounds.origin.y},
                            part.size};
  const OwnedImage image(CGDisplayCreateImageForRect(display, onDisplay));
  if (image.get() == nullptr) return;
  const auto imageWidth = static_cast<CGFloat>(CGImageGetWidth(image.get()));
  const auto imageHeight = static_cast<CGFloat>(CGImageGetHeight(image.get()));
  // The bitmap's origin is its bottom-left corner.
  const double y = static_cast<double>(request.height) -
                   (static_cast<double>(part.origin.y) - request.top) -
                   static_cast<double>(imageHeight);
  const CGRect inBitmap = {
      {part.origin.x - static_cast<CGFloat>(request.left), static_cast<CGFloat>(y)},
      {imageWidth, imageHeight}};
  CGContextDrawImage(bitmap, inBitmap, image.get());
}

REALpictureStruct* CaptureByDisplayImages(const RectRequest& request) {
  DisplayList list;
  if (!capture::ListActiveDisplays(list)) return nullptr;
  const OwnedSpace space(CGColorSpaceCreateDeviceRGB());
  if (space.get() == nullptr) return nullptr;
  const auto width = static_cast<size_t>(request.width);
  const auto height = static_cast<size_t>(request.height);
  const OwnedBitmap bitmap(CGBitmapContextCreate(nullptr, width, height, 8, width * 4, space.get(),
                                                 kCGImageAlphaNoneSkipFirst));
  if (bitmap.get() == nullptr) return nullptr;
  CGContextClearRect(bitmap.get(), {{0, 0}, FloatRect(request).size});
  for (uint32_t i = 0; i < list.count; ++i) DrawPart(bitmap.get(), request, list.displays[i]);
  const OwnedImage composed(CGBitmapContextCreateImage(bitmap.get()));
  return composed.get() == nullptr ? nullptr : GetCGImagePicture(composed.get());
}

// --- OpenGL, each display's part read back into one picture ---

// Truncates toward zero; a value out of range becomes the nearest limit.
int32_t Truncate(CGFloat value) {
  if (!(value > -2147483648.0)) return INT32_MIN;
  if (value >= 2147483648.0) return INT32_MAX;
  return static_cast<int32_t>(value);
}

// A display's part of the request.
struct Part {
  capture::FrameBufferArea area;
  int32_t column;  // in the picture
  int32_t row;
};

// False when the display and the request don't intersect. As sums wrap, it may be true even so;
// then the area lies outside the frame buffer, and is black.
bool FindPart(const RectRequest& request, const CGRect& bounds, Part& part) {
  const int32_t displayLeft = Truncate(bounds.origin.x);
  const int32_t displayTop = Truncate(bounds.origin.y);
  const int32_t displayHeight = Truncate(bounds.size.height);
  const int32_t displayRight = WrappingAdd(displayLeft, Truncate(bounds.size.width));
  const int32_t displayBottom = WrappingAdd(displayTop, displayHeight);

  const int32_t left = request.left > displayLeft ? request.left : displayLeft;
  const int32_t top = request.top > displayTop ? request.top : displayTop;
  const int32_t right = request.Right() < displayRight ? request.Right() : displayRight;
  const int32_t bottom = request.Bottom() < displayBottom ? request.Bottom() : displayBottom;
  const int32_t width = WrappingSubtract(right, left);
  const int32_t height = WrappingSubtract(bottom, top);
  if (width <= 0 || height <= 0) return false;

  const int32_t offsetFromTop = WrappingSubtract(top, displayTop);
  part.area = {WrappingSubtract(left, displayLeft),
               WrappingSubtract(WrappingSubtract(displayHeight, offsetFromTop), height), width,
               height};
  part.column = WrappingSubtract(left, request.left);
  part.row = WrappingSubtract(top, request.top);
  return part.column >= 0 && part.row >= 0;
}

// Reads the display's part and writes it at its position. Skips a display that fails.
void CopyPart(PictureWriter& writer, const RectRequest& request, CGDirectDisplayID display) {
  const CGRect bounds = CGDisplayBounds(display);
  capture::PixelBuffer buffer;
  Part part = {};
  {
    const capture::OwnedGLContext context(capture::OpenFullScreenContext(display));
    if (context.get() == nullptr) return;
    if (!FindPart(request, bounds, part)) return;
    if (!buffer.Read(part.area)) return;
  }
  picture::WriteRows(writer, buffer.Rows(), part.column, part.row);
}

// When this is nil, QuickDraw is next.
REALpictureStruct* CaptureByOpenGL(const RectRequest& request) {
  if (!capture::HasOpenGL()) return nullptr;
  DisplayList list;
  if (!capture::ListActiveDisplays(list)) return nullptr;
  for (uint32_t i = 0; i < list.count; ++i) {
    if (!Is32bitDisplay(list.displays[i])) return nullptr;
  }
  PictureWriter writer;
  if (!BindNewPicture(writer, request.width, request.height)) return nullptr;
  for (uint32_t i = 0; i < list.count; ++i) CopyPart(writer, request, list.displays[i]);
  return writer.RenderPictureWriter();
}

// --- QuickDraw, copied from every device into one world ---

Rect MovePart(const capture::DeviceRequest& request, const Rect& part) {
  return capture::MakeRect(
      WrappingSubtract(part.top, request.top), WrappingSubtract(part.left, request.left),
      WrappingSubtract(part.bottom, request.top), WrappingSubtract(part.right, request.left));
}

REALpictureStruct* CaptureByQuickDraw(const RectRequest& request) {
  return capture::PictureOfDevices(
      {request.left, request.top, request.width, request.height, request.width, request.height},
      MovePart);
}

}  // namespace

REALpictureStruct* ScreenshotRectQRV(int32_t left, int32_t top, int32_t width, int32_t height) {
  if (width < 1 || height < 1) return nullptr;
  const RectRequest request = {left, top, width, height};
  if (CGDisplayCreateImageForRect != nullptr && capture::SystemHasDisplayImages()) {
    return CaptureByDisplayImages(request);
  }
  REALpictureStruct* picture = CaptureByOpenGL(request);
  return picture != nullptr ? picture : CaptureByQuickDraw(request);
}
