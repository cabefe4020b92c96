// Images and colour spaces.
#include <cstring>

#include "platform/coregraphics/bitmap.h"

// Colour spaces are constants: callers may keep one, and releasing it does nothing.
struct CGColorSpace {
  const char* name;
  CGColorSpaceModel model;
};

namespace {

CGColorSpace deviceRgb = {"kCGColorSpaceDeviceRGB", kCGColorSpaceModelRGB};
CGColorSpace genericRgb = {"kCGColorSpaceGenericRGB", kCGColorSpaceModelRGB};

}  // namespace

size_t CGImageGetWidth(CGImageRef image) { return image == nullptr ? 0 : image->width; }

size_t CGImageGetHeight(CGImageRef image) { return image == nullptr ? 0 : image->height; }

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  return image == nullptr ? CGImageAlphaInfo{kCGImageAlphaNone} : image->layout.alphaInfo;
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  return image == nullptr ? nullptr : image->colorSpace;
}

void CGImageRelease(CGImageRef image) { delete image; }

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() { return &deviceRgb; }

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
  if (name == nullptr || strcmp(name->characters, genericRgb.name) != 0) return nullptr;
  return &genericRgb;
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  return space == nullptr ? kCGColorSpaceModelUnknown : space->model;
}

void CGColorSpaceRelease(CGColorSpaceRef) {}
