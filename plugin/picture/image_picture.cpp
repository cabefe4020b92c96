#include "plugin/picture/image_picture.h"

#include <stdlib.h>

#include "plugin/host/bridge.h"
#include "plugin/picture/mask.h"
#include "plugin/picture/owned.h"
#include "plugin/picture/pixel_pass.h"

namespace {

using picture::Owned;
using picture::SourceLayout;
using picture::SourceRows;

using OwnedMemory = Owned<void*, free>;
using OwnedBitmap = Owned<CGContextRef, CGContextRelease>;
using OwnedSpace = Owned<CGColorSpaceRef, CGColorSpaceRelease>;

// Bytes of a buffer of 4 bytes per pixel; 0 when it is empty or has 2^31 bytes or more.
size_t BufferSize(uint64_t width, uint64_t height) {
  constexpr uint64_t kLimit = uint64_t{1} << 31;
  if (width >= kLimit / 4 || height >= kLimit || width * 4 * height >= kLimit) return 0;
  return static_cast<size_t>(width * 4 * height);
}

// An image drawn at its own size into a zeroed buffer, top row first. Members are destroyed in
// reverse order: the context is released before its memory is freed.
class DrawnImage {
 public:
  DrawnImage(CGImage* image, CGColorSpace* space, CGImageAlphaInfo layout)
      : width_(CGImageGetWidth(image)), height_(CGImageGetHeight(image)) {
    const size_t size = BufferSize(width_, height_);
    if (size == 0) return;
    buffer_.Reset(calloc(1, size));
    if (buffer_.get() == nullptr) return;
    context_.Reset(
        CGBitmapContextCreate(buffer_.get(), width_, height_, 8, width_ * 4, space, layout));
    if (context_.get() == nullptr) return;
    const CGRect whole = {{0, 0}, {static_cast<CGFloat>(width_), static_cast<CGFloat>(height_)}};
    CGContextDrawImage(context_.get(), whole, image);
    pixels_ = static_cast<const uint8_t*>(CGBitmapContextGetData(context_.get()));
  }

  bool HasPixels() const { return pixels_ != nullptr; }

  // The sides of a buffer of less than 2^31 bytes fit 32 bits.
  int32_t width() const { return static_cast<int32_t>(width_); }
  int32_t height() const { return static_cast<int32_t>(height_); }

  SourceRows Rows(SourceLayout layout) const {
    return {layout, pixels_, static_cast<ptrdiff_t>(width_ * 4), width(), height()};
  }

 private:
  size_t width_;
  size_t height_;
  OwnedMemory buffer_{nullptr};
  OwnedBitmap context_{nullptr};
  const uint8_t* pixels_ = nullptr;
};

REALpictureStruct* ManipulateImagePixelDataRGB(CGImage* image, CGColorSpace* colorSpace) {
  const DrawnImage drawn(image, colorSpace, kCGImageAlphaNoneSkipFirst);
  if (!drawn.HasPixels()) return nullptr;
  PictureWriter writer;
  if (!BindNewPicture(writer, drawn.width(), drawn.height())) return nullptr;
  picture::WriteRows(writer, drawn.Rows(SourceLayout::kSkipRgb));
  return writer.RenderPictureWriter();
}

REALpictureStruct* ManipulateImagePixelDataRGBA(CGImage* image, CGColorSpace* colorSpace) {
  const DrawnImage drawn(image, colorSpace, kCGImageAlphaPremultipliedLast);
  if (!drawn.HasPixels()) return nullptr;
  const SourceRows rows = drawn.Rows(SourceLayout::kPremultipliedRgba);
  PictureWriter colourWriter;
  if (!BindNewPicture(colourWriter, rows.width, rows.height)) return nullptr;
  PictureWriter maskWriter;
  if (!picture::BindMaskPicture(maskWriter, colourWriter)) {
    // Without a mask the picture still shows the image's colours.
    picture::WriteRows(colourWriter, rows);
    return colourWriter.RenderPictureWriter();
  }
  picture::WriteRowsWithMask(colourWriter, maskWriter, rows);
  REALpictureStruct* mask = maskWriter.RenderPictureWriter();
  REALpictureStruct* colour = colourWriter.RenderPictureWriter();
  picture::AttachMask(colour, mask, rows.width, rows.height);
  return colour;
}

bool HasAlpha(CGImageAlphaInfo alphaInfo) {
  switch (alphaInfo) {
    case kCGImageAlphaNone:
    case kCGImageAlphaNoneSkipLast:
    case kCGImageAlphaNoneSkipFirst:
    case kCGImageAlphaOnly:
      return false;
    default:
      return true;
  }
}

REALpictureStruct* Convert(CGImage* image, CGColorSpace* colorSpace) {
  return HasAlpha(CGImageGetAlphaInfo(image)) ? ManipulateImagePixelDataRGBA(image, colorSpace)
                                              : ManipulateImagePixelDataRGB(image, colorSpace);
}

}  // namespace

REALpictureStruct* GetCGImagePicture(CGImage* image, CGColorSpace* /*colorSpace*/) {
  if (image == nullptr) return nullptr;
  CGColorSpaceRef own = CGImageGetColorSpace(image);
  if (own != nullptr && CGColorSpaceGetModel(own) == kCGColorSpaceModelRGB) {
    REALpictureStruct* result = Convert(image, own);
    if (result != nullptr) return result;
  }
  const OwnedSpace generic(CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceGenericRGB")));
  if (generic.get() == nullptr) return nullptr;
  return Convert(image, generic.get());
}
