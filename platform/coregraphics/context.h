#ifndef PLATFORM_COREGRAPHICS_CONTEXT_H_
#define PLATFORM_COREGRAPHICS_CONTEXT_H_

#include <ApplicationServices/CoreGraphics.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/coregraphics/pixel_layout.h"

// A bitmap context. Memory is either the caller's, and `owner` is empty, or the context's own.
//
// An image of a context shares the context's own memory while only this platform can write there.
// Whichever comes first, drawing or handing out the address, then moves the context to a copy; once
// the address is out, images are copies from the start.
struct CGContext {
  std::shared_ptr<void> owner;
  uint8_t* pixels;  // row 0 is the top row
  size_t width;
  size_t height;
  size_t bytesPerRow;
  const qrv::coregraphics::PixelLayout* layout;
  CGColorSpaceRef colorSpace;
  bool addressIsOut;  // somebody else may write to `pixels`
  bool isBlank;       // own memory that is all zero, as it was allocated

  uint8_t* Row(size_t y) const { return pixels + y * bytesPerRow; }

  // To be called before any change to the pixels. False when the memory is shared with an image
  // and there is no memory for a copy.
  bool PrepareToWrite();
};

#endif  // PLATFORM_COREGRAPHICS_CONTEXT_H_
