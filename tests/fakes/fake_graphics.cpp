// CoreGraphics of the fake platform, apart from the functions that are linked weakly.

#include <algorithm>
#include <cmath>

#include "tests/fakes/fake_frameworks.h"
#include "tests/fakes/stage.h"

using qrv::fakes::Created;
using qrv::fakes::FakeDisplay;
using qrv::fakes::Join;
using qrv::fakes::Record;
using qrv::fakes::Refused;
using qrv::fakes::Released;
using qrv::fakes::TheStage;

namespace qrv::fakes {

CGColorSpaceRef DeviceSpace() {
  static CGColorSpace space;
  return &space;
}

CGImage* MakeImage(size_t width, size_t height, CGImageAlphaInfo alphaInfo, CGColorSpaceRef space) {
  auto* image = new CGImage;
  image->width = width;
  image->height = height;
  image->alphaInfo = alphaInfo;
  image->space = space;
  image->rgba.resize(width * height * 4);
  return image;
}

}  // namespace qrv::fakes

namespace {

const FakeDisplay* Find(CGDirectDisplayID id) {
  const auto& displays = TheStage().displays;
  const auto found = std::find_if(displays.begin(), displays.end(),
                                  [id](const FakeDisplay& display) { return display.id == id; });
  return found == displays.end() ? nullptr : &*found;
}

std::string Text(const CGRect& rect) {
  return Join(std::lround(rect.origin.x), std::lround(rect.origin.y), std::lround(rect.size.width),
              std::lround(rect.size.height));
}

// Stores a red, green, blue, alpha pixel in the context's layout.
void Store(uint8_t* pixel, const uint8_t* rgba, CGImageAlphaInfo layout) {
  const uint8_t first[4] = {255, rgba[0], rgba[1], rgba[2]};
  std::copy_n(layout == kCGImageAlphaNoneSkipFirst ? first : rgba, 4, pixel);
}

}  // namespace

extern "C" {

CGDirectDisplayID CGMainDisplayID(void) {
  Record("CGMainDisplayID");
  return TheStage().displays.empty() ? 0 : TheStage().displays.front().id;
}

CGError CGGetActiveDisplayList(uint32_t maxDisplays, CGDirectDisplayID* displays,
                               CGDisplayCount* displayCount) {
  Record("CGGetActiveDisplayList " + Join(maxDisplays));
  if (Refused("CGGetActiveDisplayList")) return kCGErrorFailure;
  *displayCount = 0;
  for (const FakeDisplay& display : TheStage().displays) {
    if (*displayCount < maxDisplays) displays[(*displayCount)++] = display.id;
  }
  return kCGErrorSuccess;
}

CGRect CGDisplayBounds(CGDirectDisplayID id) {
  const FakeDisplay* display = Find(id);
  if (display == nullptr) return {};
  return {{static_cast<CGFloat>(display->x), static_cast<CGFloat>(display->y)},
          {static_cast<CGFloat>(display->width), static_cast<CGFloat>(display->height)}};
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID id) {
  const FakeDisplay* display = Find(id);
  return display == nullptr ? 0 : 1U << (display - TheStage().displays.data());
}

CGRect CGRectIntersection(CGRect a, CGRect b) {
  const CGFloat left = std::max(a.origin.x, b.origin.x);
  const CGFloat top = std::max(a.origin.y, b.origin.y);
  const CGFloat right = std::min(a.origin.x + a.size.width, b.origin.x + b.size.width);
  const CGFloat bottom = std::min(a.origin.y + a.size.height, b.origin.y + b.size.height);
  if (right <= left || bottom <= top) return {{INFINITY, INFINITY}, {0, 0}};
  return {{left, top}, {right - left, bottom - top}};
}

bool CGRectIsNull(CGRect rect) { return std::isinf(rect.origin.x); }

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) {
  Record("CGColorSpaceCreateDeviceRGB");
  if (Refused("CGColorSpaceCreateDeviceRGB")) return nullptr;
  auto* space = new CGColorSpace;
  Created(space, "space");
  return space;
}

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef) {
  Record("CGColorSpaceCreateWithName");
  if (Refused("CGColorSpaceCreateWithName")) return nullptr;
  auto* space = new CGColorSpace;
  Created(space, "space");
  return space;
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) { return space->model; }

void CGColorSpaceRelease(CGColorSpaceRef space) {
  Record("CGColorSpaceRelease");
  Released(space, "space");
  delete space;
}

size_t CGImageGetWidth(CGImageRef image) { return image == nullptr ? 0 : image->width; }
size_t CGImageGetHeight(CGImageRef image) { return image == nullptr ? 0 : image->height; }
CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) { return image->alphaInfo; }
CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) { return image->space; }

void CGImageRelease(CGImageRef image) {
  Record("CGImageRelease");
  Released(image, "image");
  delete image;
}

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef, uint32_t bitmapInfo) {
  Record("CGBitmapContextCreate " + Join(width, height, bitsPerComponent, bytesPerRow, bitmapInfo) +
         (data == nullptr ? " own memory" : ""));
  if (Refused("CGBitmapContextCreate")) return nullptr;
  auto* context = new CGContext;
  if (data == nullptr) context->memory.resize(bytesPerRow * height);
  context->data = data == nullptr ? context->memory.data() : static_cast<uint8_t*>(data);
  context->width = width;
  context->height = height;
  context->rowBytes = bytesPerRow;
  context->alphaInfo = bitmapInfo;
  Created(context, "bitmap context");
  return context;
}

void CGContextRelease(CGContextRef context) {
  Record("CGContextRelease");
  Released(context, "bitmap context");
  delete context;
}

void* CGBitmapContextGetData(CGContextRef context) {
  return Refused("CGBitmapContextGetData") ? nullptr : context->data;
}
size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) { return context->bitsPerPixel; }
size_t CGBitmapContextGetWidth(CGContextRef context) { return context->width; }
size_t CGBitmapContextGetHeight(CGContextRef context) { return context->height; }
size_t CGBitmapContextGetBytesPerRow(CGContextRef context) { return context->rowBytes; }
CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context) { return context->alphaInfo; }

// Unscaled: the rectangle's origin says where the image's bottom-left corner goes.
void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  Record("CGContextDrawImage " + Text(rect));
  const auto left = std::lround(rect.origin.x);
  const auto top =
      static_cast<long>(context->height) - std::lround(rect.origin.y + rect.size.height);
  for (long y = 0; y < static_cast<long>(image->height); ++y) {
    for (long x = 0; x < static_cast<long>(image->width); ++x) {
      const long toX = left + x;
      const long toY = top + y;
      if (toX < 0 || toY < 0 || toX >= static_cast<long>(context->width) ||
          toY >= static_cast<long>(context->height)) {
        continue;
      }
      Store(context->data + toY * static_cast<long>(context->rowBytes) + toX * 4,
            image->rgba.data() + (y * static_cast<long>(image->width) + x) * 4, context->alphaInfo);
    }
  }
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  Record("CGContextClearRect " + Text(rect));
  std::fill_n(context->data, context->rowBytes * context->height, static_cast<uint8_t>(0));
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  Record("CGBitmapContextCreateImage");
  if (Refused("CGBitmapContextCreateImage")) return nullptr;
  CGImage* image = qrv::fakes::MakeImage(context->width, context->height, context->alphaInfo);
  for (size_t i = 0; i < image->rgba.size(); i += 4) {
    const uint8_t* pixel = context->data + i;
    const uint8_t rgba[4] = {pixel[1], pixel[2], pixel[3], 255};
    std::copy_n(rgba, 4, image->rgba.data() + i);
  }
  Created(image, "image");
  return image;
}

}  // extern "C"
