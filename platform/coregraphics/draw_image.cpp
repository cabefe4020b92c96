// Drawing into bitmap contexts. User space grows upward from the bottom-left corner; these
// functions convert it to pixels from the top-left corner first. A pixel belongs to a rectangle
// when its centre does.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

#include "platform/coregraphics/bitmap.h"
#include "platform/coregraphics/rectangles.h"
#include "platform/guarded.h"
#include "platform/pixels/convert_rows.h"

namespace {

using qrv::coregraphics::CopyImage;
using qrv::coregraphics::Edges;
using qrv::coregraphics::EdgesOf;
using qrv::coregraphics::EnsureMemory;

// Converts a rectangle of user space to pixels from the context's top-left corner.
std::optional<Edges> AreaInPixels(const CGContext& context, CGRect rect) {
  const std::optional<Edges> edges = EdgesOf(rect);
  if (!edges) return std::nullopt;
  const auto height = static_cast<double>(context.height);
  return Edges{edges->left, height - edges->bottom, edges->right, height - edges->top};
}

// The first pixel of an axis of `length` pixels whose centre lies at or beyond `edge`.
size_t FirstPixelFrom(double edge, size_t length) {
  return static_cast<size_t>(std::clamp(std::ceil(edge - 0.5), 0.0, static_cast<double>(length)));
}

bool Intersects(const Edges& area, const CGContext& context) {
  return area.right > 0 && area.bottom > 0 && area.left < static_cast<double>(context.width) &&
         area.top < static_cast<double>(context.height);
}

bool IsPixelForPixel(const CGImage& image, const Edges& area) {
  return area.right - area.left == static_cast<double>(image.width) &&
         area.bottom - area.top == static_cast<double>(image.height) &&
         area.left == std::floor(area.left) && area.top == std::floor(area.top);
}

bool Fills(const CGImage& image, const Edges& area, const CGContext& context) {
  return area.left == 0 && area.top == 0 && image.width == context.width &&
         image.height == context.height;
}

}  // namespace

void qrv::coregraphics::CopyImage(const CGImage& image, ptrdiff_t left, ptrdiff_t top,
                                  const CGContext& context) {
  const auto clip = [](ptrdiff_t edge, size_t length) {
    return static_cast<size_t>(std::clamp(edge, ptrdiff_t{0}, static_cast<ptrdiff_t>(length)));
  };
  const size_t x = clip(left, context.width);
  const size_t y = clip(top, context.height);
  const size_t width = clip(left + static_cast<ptrdiff_t>(image.width), context.width) - x;
  const size_t height = clip(top + static_cast<ptrdiff_t>(image.height), context.height) - y;
  if (width == 0 || height == 0) return;
  const auto imageX = static_cast<size_t>(static_cast<ptrdiff_t>(x) - left);
  const auto imageY = static_cast<size_t>(static_cast<ptrdiff_t>(y) - top);
  const pixels::RowKernel kernel =
      pixels::ReorderingKernel(image.layout.order, context.layout.order, image.layout.hasAlpha);
  pixels::ConvertRows(kernel,
                      {image.pixels + imageY * image.bytesPerRow + imageX * 4, image.bytesPerRow},
                      {context.Row(y) + x * 4, context.bytesPerRow}, 4, width, height);
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  if (!qrv::coregraphics::IsContext(context) || image == nullptr) return;
  const std::optional<Edges> area = AreaInPixels(*context, rect);
  if (!area || !Intersects(*area, *context)) return;
  const bool isFailed = !qrv::Guarded(false, [&] {
    if (!IsPixelForPixel(*image, *area)) {
      qrv::desktop::FailCapture(qrv::desktop::Reason::kUnsupported,
                                "images can only be drawn pixel for pixel");
      return false;
    }
    const bool isShared = context->isOwn && Fills(*image, *area, *context);
    if (isShared) {
      context->image = std::make_unique<CGImage>(*image);
      context->pixels = nullptr;
      context->owner = nullptr;
      return true;
    }
    if (!EnsureMemory(*context)) return false;
    CopyImage(*image, static_cast<ptrdiff_t>(area->left), static_cast<ptrdiff_t>(area->top),
              *context);
    return true;
  });
  context->hasFailed = context->hasFailed || isFailed;
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  if (!qrv::coregraphics::IsContext(context)) return;
  if (context->pixels == nullptr && !context->image) return;  // all zero
  const std::optional<Edges> area = AreaInPixels(*context, rect);
  if (!area) return;
  if (!EnsureMemory(*context)) {
    context->hasFailed = true;
    return;
  }
  const size_t left = FirstPixelFrom(area->left, context->width);
  const size_t right = FirstPixelFrom(area->right, context->width);
  const size_t bottom = FirstPixelFrom(area->bottom, context->height);
  for (size_t y = FirstPixelFrom(area->top, context->height); y < bottom && left < right; ++y) {
    memset(context->Row(y) + left * 4, 0, (right - left) * 4);
  }
}
