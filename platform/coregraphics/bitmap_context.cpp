// Bitmap contexts: what they are made of, and the image that is made of one.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include <QRV/Desktop.h>
#include "platform/coregraphics/bitmap.h"
#include "platform/guarded.h"

namespace {

using qrv::coregraphics::HasMemory;
using qrv::coregraphics::IsContext;
using qrv::coregraphics::PixelLayout;
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

// When all that was drawn is one part of a display that fills the context: that part, which saves a
// copy. Else null.
CGImageRef PartAsImage(CGContext& context) {
  if (context.pixels != nullptr || context.pending.size() != 1) return nullptr;
  const qrv::coregraphics::Edges& area = context.pending.front().area;
  if (area.left != 0 || area.top != 0 || area.right != static_cast<double>(context.width) ||
      area.bottom != static_cast<double>(context.height)) {
    return nullptr;
  }
  CGImageRef image = nullptr;
  qrv::Guarded([&] {
    const auto part = context.pending.front().part;
    context.pending.clear();
    context.isIncomplete = true;
    image = qrv::coregraphics::ImageOf(part, context.width, context.height);
    context.hasImage = image != nullptr;
    context.isIncomplete = image == nullptr;
  });
  return image;
}

}  // namespace

bool qrv::coregraphics::HasMemory(CGContext& context) noexcept {
  if (context.pixels == nullptr && !context.hasImage) {
    Guarded([&] {
      context.owner = std::shared_ptr<void>(calloc(context.height, context.bytesPerRow), free);
    });
    context.pixels = static_cast<uint8_t*>(context.owner.get());
    if (context.pixels == nullptr) desktop::LosePixels(desktop::kNoMemory);
  }
  return context.pixels != nullptr;
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
                         .hasImage = false,
                         .owner = nullptr,
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
  if (!IsContext(context)) return nullptr;
  qrv::coregraphics::DrawPending(*context);
  return !context->isIncomplete && HasMemory(*context) ? context->pixels : nullptr;
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

// There is no image while a part that was to be drawn is missing.
CGImageRef CGBitmapContextCreateImage(CGContextRef context) {
  if (!IsContext(context) || !context->isOwn || context->hasImage) return nullptr;
  if (CGImageRef image = PartAsImage(*context)) return image;
  qrv::coregraphics::DrawPending(*context);
  if (context->isIncomplete || !HasMemory(*context) || qrv::desktop::HasLostPixels()) {
    return nullptr;
  }
  context->hasImage = true;
  return qrv::Guarded<CGImageRef>(nullptr, [=] {
    return new CGImage{std::move(context->owner),
                       std::exchange(context->pixels, nullptr),
                       context->width,
                       context->height,
                       context->bytesPerRow,
                       context->layout,
                       context->colorSpace};
  });
}
