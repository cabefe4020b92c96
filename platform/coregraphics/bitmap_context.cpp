// Bitmap contexts: their creation, and the image of one.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <new>
#include <utility>

#include "platform/coregraphics/bitmap.h"
#include "platform/guarded.h"

namespace {

using qrv::coregraphics::EnsureMemory;
using qrv::coregraphics::IsContext;
using qrv::coregraphics::PixelLayout;
using qrv::pixels::ByteOrder;

constexpr PixelLayout kLayouts[] = {
    {kCGImageAlphaPremultipliedLast, ByteOrder::kRGBA, true},
    {kCGImageAlphaPremultipliedFirst, ByteOrder::kARGB, true},
    {kCGImageAlphaNoneSkipLast, ByteOrder::kRGBA, false},
    {kCGImageAlphaNoneSkipFirst, ByteOrder::kARGB, false},
};

// Null for any other alpha info, and for any byte order but the default.
const PixelLayout* FindLayout(uint32_t bitmapInfo) {
  const auto* found =
      std::find_if(std::begin(kLayouts), std::end(kLayouts),
                   [=](const PixelLayout& layout) { return layout.alphaInfo == bitmapInfo; });
  return found == std::end(kLayouts) ? nullptr : found;
}

// With these sizes no sum or product in this library overflows.
bool AreUsableSizes(size_t width, size_t height, size_t bytesPerRow) {
  return width >= 1 && height >= 1 && width <= PTRDIFF_MAX / 4 && bytesPerRow >= width * 4 &&
         bytesPerRow <= PTRDIFF_MAX / height;
}

}  // namespace

bool qrv::coregraphics::EnsureMemory(CGContext& context) noexcept {
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
  if (!AreUsableSizes(width, height, bytesPerRow)) return nullptr;

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
  if (!IsContext(context) || context->hasFailed || !EnsureMemory(*context)) return nullptr;
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

// The image takes over the memory, and the context shares the image. There is no image while pixels
// are missing.
CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  if (!IsContext(context) || !context->isOwn || context->hasFailed) return nullptr;
  if (qrv::desktop::HasCaptureFailed()) return nullptr;
  if (!context->image && !EnsureMemory(*context)) return nullptr;
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
