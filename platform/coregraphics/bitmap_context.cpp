// Bitmap contexts: what they are made of, and the image that is made of one.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "platform/coregraphics/bitmap.h"
#include "platform/guarded.h"

namespace {

using qrv::coregraphics::IsContext;
using qrv::coregraphics::PixelLayout;
using qrv::coregraphics::TakeMemory;
using qrv::pixels::ByteOrder;

constexpr PixelLayout kLayouts[] = {
    {kCGImageAlphaPremultipliedLast, ByteOrder::kRGBA, true},
    {kCGImageAlphaPremultipliedFirst, ByteOrder::kARGB, true},
    {kCGImageAlphaNoneSkipLast, ByteOrder::kRGBA, false},
    {kCGImageAlphaNoneSkipFirst, ByteOrder::kARGB, false},
};

// Null for all but an alpha info of these in the default byte order.
const PixelLayout* FindLayout(uint32_t bitmapInfo) {
  const auto* found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts),
                   [=](const PixelLayout& layout) { return layout.alphaInfo == bitmapInfo; });
  return found == std::end(kLayouts) ? nullptr : found;
}

// No size that passes overflows in a sum or product of this library.
bool SizesAreUsable(size_t width, size_t height, size_t bytesPerRow) {
  return width >= 1 && height >= 1 && width <= PTRDIFF_MAX / 4 && bytesPerRow >= width * 4 &&
         bytesPerRow <= PTRDIFF_MAX / height;
}

}  // namespace

bool qrv::coregraphics::TakeMemory(CGContext& context) noexcept {
  if (context.pixels != nullptr) return true;
  return Guarded(false, [&] {
    context.owner = std::shared_ptr<void>(calloc(context.height, context.bytesPerRow), free);
    if (!context.owner) throw std::bad_alloc();
    context.pixels = static_cast<uint8_t*>(context.owner.get());
    if (context.image) CopyImage(*std::exchange(context.image, nullptr), 0, 0, context);
    return true;
  });
}

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space, uint32_t bitmapInfo) {
  const PixelLayout* layout = FindLayout(bitmapInfo);
  if (layout == nullptr || bitsPerComponent != 8) return nullptr;
  if (CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB) return nullptr;
  if (!SizesAreUsable(width, height, bytesPerRow)) return nullptr;

  return qrv::Guarded<CGContextRef>(nullptr, [=] {
    return new CGContext{.tag = qrv::coregraphics::kContextTag,
                         .isOwn = data == nullptr,
                         .owner = nullptr,
                         .image = nullptr,
                         .pixels = static_cast<uint8_t*>(data),
                         .width = width,
                         .height = height,
                         .bytesPerRow = bytesPerRow,
                         .layout = *layout,
                         .colorSpace = space};
  });
}

void CGContextRelease(CGContextRef context) { delete context; }

void* CGBitmapContextGetData(CGContextRef context) {
  if (!IsContext(context) || context->hasFailed || !TakeMemory(*context)) return nullptr;
  return context->pixels;
}

size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) { return IsContext(context) ? 32 : 0; }

size_t CGBitmapContextGetWidth(CGContextRef context) {
  return IsContext(context) ? context->width : 0;
}

size_t CGBitmapContextGetHeight(CGContextRef context) {
  return IsContext(context) ? context->height : 0;
}

size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
  return IsContext(context) ? context->bytesPerRow : 0;
}

CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context) {
  return IsContext(context) ? context->layout.alphaInfo : CGImageAlphaInfo{kCGImageAlphaNone};
}

// The image takes over the memory, and the context shows the image. There is none while a part that
// was to be drawn is missing.
CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  if (!IsContext(context) || !context->isOwn || context->hasFailed) return nullptr;
  if (qrv::desktop::HasCaptureFailed()) return nullptr;
  if (!context->image && !TakeMemory(*context)) return nullptr;
  return qrv::Guarded<CGImageRef>(nullptr, [=] {
    if (!context->image) {
      context->image = std::make_unique<CGImage>(
          CGImage{context->owner, context->pixels, context->width, context->height,
                  context->bytesPerRow, context->layout, context->colorSpace});
      context->owner = nullptr;
      context->pixels = nullptr;
    }
    return new CGImage(*context->image);
  });
}
