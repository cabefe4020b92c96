#ifndef PLATFORM_COREGRAPHICS_IMAGE_H_
#define PLATFORM_COREGRAPHICS_IMAGE_H_

#include <ApplicationServices/CoreGraphics.h>

#include <cstddef>
#include <cstdint>
#include <memory>

// Rows from top to bottom. `owner` keeps `pixels` alive and unchanged. Rows begin at addresses
// that 4 divides.
struct CGImage {
  std::shared_ptr<void> owner;
  const uint8_t* pixels;
  size_t width;
  size_t height;
  size_t bytesPerRow;
  CGBitmapInfo bitmapInfo;
  CGColorSpaceRef colorSpace;  // null when the image has none
};

#endif  // PLATFORM_COREGRAPHICS_IMAGE_H_
