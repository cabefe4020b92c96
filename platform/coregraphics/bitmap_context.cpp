#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

#include "platform/coregraphics/color_space.h"
#include "platform/coregraphics/context.h"
#include "platform/coregraphics/image.h"
#include "platform/coregraphics/large_pages.h"

namespace {

using qrv::coregraphics::PixelLayout;

struct Memory {
  std::shared_ptr<void> owner;  // empty when there is no memory
  uint8_t* bytes;
};

Memory AllocateZeroed(size_t rows, size_t bytesPerRow) {
  void* block = calloc(rows, bytesPerRow);
  if (block == nullptr) return {};
  return {std::shared_ptr<void>(block, free), static_cast<uint8_t*>(block)};
}

Memory CopyPixels(const CGContext& context) {
  const size_t size = context.height * context.bytesPerRow;
  void* block = malloc(size);
  if (block == nullptr) return {};
  Memory copy = {std::shared_ptr<void>(block, free), static_cast<uint8_t*>(block)};
  memcpy(block, context.pixels, size);
  return copy;
}

// Copies the rows without what lies between them.
Memory CopyRows(const CGContext& context) {
  const size_t rowBytes = context.width * 4;
  void* block = malloc(context.height * rowBytes);
  if (block == nullptr) return {};
  Memory copy = {std::shared_ptr<void>(block, free), static_cast<uint8_t*>(block)};
  for (size_t y = 0; y < context.height; ++y) {
    memcpy(copy.bytes + y * rowBytes, context.Row(y), rowBytes);
  }
  return copy;
}

// No size that passes overflows in a sum or product of this library.
bool SizesAreUsable(size_t width, size_t height, size_t bytesPerRow) {
  return width >= 1 && height >= 1 && width <= PTRDIFF_MAX / 4 && bytesPerRow >= width * 4 &&
         bytesPerRow <= PTRDIFF_MAX / height;
}

const PixelLayout* ContextLayout(CGBitmapInfo bitmapInfo) {
  const bool hasDefaultByteOrder = (bitmapInfo & ~CGBitmapInfo{kCGBitmapAlphaInfoMask}) == 0;
  return hasDefaultByteOrder ? qrv::coregraphics::FindLayout(bitmapInfo) : nullptr;
}

// Whether an image may be made over the context's memory as it is.
bool CanShare(const CGContext& context) {
  return context.owner != nullptr && !context.addressIsOut && context.bytesPerRow % 4 == 0;
}

}  // namespace

bool CGContext::PrepareToWrite() {
  isBlank = false;
  if (owner == nullptr || owner.use_count() == 1) {
    // Whoever released the last image may have been another thread, and was done reading.
    std::atomic_thread_fence(std::memory_order_acquire);
    return true;
  }
  Memory copy = CopyPixels(*this);
  if (copy.owner == nullptr) return false;
  owner = std::move(copy.owner);
  pixels = copy.bytes;
  return true;
}

CGContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                   size_t bytesPerRow, CGColorSpaceRef space,
                                   uint32_t bitmapInfo) try {
  const PixelLayout* layout = ContextLayout(bitmapInfo);
  if (layout == nullptr || bitsPerComponent != 8) return nullptr;
  if (CGColorSpaceGetModel(space) != kCGColorSpaceModelRGB) return nullptr;
  if (!SizesAreUsable(width, height, bytesPerRow)) return nullptr;

  const bool isOwn = data == nullptr;
  Memory memory = {nullptr, static_cast<uint8_t*>(data)};
  if (isOwn) memory = AllocateZeroed(height, bytesPerRow);
  if (memory.bytes == nullptr) return nullptr;
  qrv::coregraphics::PreferLargePages(memory.bytes, height * bytesPerRow);
  return new CGContext{std::move(memory.owner),
                       memory.bytes,
                       width,
                       height,
                       bytesPerRow,
                       layout,
                       space,
                       !isOwn,
                       isOwn};
} catch (const std::exception&) {
  return nullptr;
}

void CGContextRelease(CGContextRef context) { delete context; }

void* CGBitmapContextGetData(CGContextRef context) try {
  if (context == nullptr || !context->PrepareToWrite()) return nullptr;
  context->addressIsOut = true;
  return context->pixels;
} catch (const std::exception&) {
  return nullptr;
}

size_t CGBitmapContextGetBitsPerPixel(CGContextRef context) { return context == nullptr ? 0 : 32; }

size_t CGBitmapContextGetWidth(CGContextRef context) {
  return context == nullptr ? 0 : context->width;
}

size_t CGBitmapContextGetHeight(CGContextRef context) {
  return context == nullptr ? 0 : context->height;
}

size_t CGBitmapContextGetBytesPerRow(CGContextRef context) {
  return context == nullptr ? 0 : context->bytesPerRow;
}

CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context) {
  if (context == nullptr) return kCGImageAlphaNone;
  return context->layout->bitmapInfo;
}

CGImageRef CGBitmapContextCreateImage(CGContextRef context) try {
  if (context == nullptr) return nullptr;
  Memory memory = {context->owner, context->pixels};
  size_t bytesPerRow = context->bytesPerRow;
  if (!CanShare(*context)) {
    memory = CopyRows(*context);
    bytesPerRow = context->width * 4;
    if (memory.owner == nullptr) return nullptr;
  }
  return new CGImage{std::move(memory.owner), memory.bytes, context->width,
                     context->height,         bytesPerRow,  context->layout->bitmapInfo,
                     context->colorSpace};
} catch (const std::exception&) {
  return nullptr;
}
