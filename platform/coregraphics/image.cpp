#include "platform/coregraphics/image.h"

size_t CGImageGetWidth(CGImageRef image) { return image == nullptr ? 0 : image->width; }

size_t CGImageGetHeight(CGImageRef image) { return image == nullptr ? 0 : image->height; }

CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image) {
  if (image == nullptr) return kCGImageAlphaNone;
  return image->bitmapInfo & kCGBitmapAlphaInfoMask;
}

CGColorSpaceRef CGImageGetColorSpace(CGImageRef image) {
  return image == nullptr ? nullptr : image->colorSpace;
}

void CGImageRelease(CGImageRef image) { delete image; }
