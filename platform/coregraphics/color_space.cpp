#include "platform/coregraphics/color_space.h"

#include "platform/corefoundation/object.h"

namespace {

CGColorSpace deviceRgb = {"kCGColorSpaceDeviceRGB", kCGColorSpaceModelRGB};
CGColorSpace genericRgb = {"kCGColorSpaceGenericRGB", kCGColorSpaceModelRGB};

}  // namespace

CGColorSpaceRef CGColorSpaceCreateDeviceRGB() { return &deviceRgb; }

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
  if (name == nullptr || name->characters != genericRgb.name) return nullptr;
  return &genericRgb;
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  return space == nullptr ? kCGColorSpaceModelUnknown : space->model;
}

void CGColorSpaceRelease(CGColorSpaceRef) {}
