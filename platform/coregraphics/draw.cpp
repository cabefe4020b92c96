// Drawing into bitmap contexts. User space grows upward from the bottom-left corner; everything
// here is turned into pixels from the top-left corner first. A pixel belongs to a rectangle when
// its centre does.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <optional>

#include "platform/coregraphics/composite.h"
#include "platform/coregraphics/context.h"
#include "platform/coregraphics/geometry.h"
#include "platform/coregraphics/image.h"
#include "platform/coregraphics/row_kernels.h"

namespace {

using namespace qrv::coregraphics;

// The rectangle of user space in pixels from the context's top-left corner.
std::optional<Edges> AreaInPixels(const CGContext& context, CGRect rect) {
  std::optional<Edges> edges = EdgesOf(rect);
  if (!edges) return std::nullopt;
  const auto height = static_cast<double>(context.height);
  return Edges{edges->left, height - edges->bottom, edges->right, height - edges->top};
}

// The first pixel of an axis of `length` pixels whose centre lies at or beyond `edge`.
int64_t FirstPixelFrom(double edge, size_t length) {
  return static_cast<int64_t>(std::clamp(std::ceil(edge - 0.5), 0.0, static_cast<double>(length)));
}

PixelBox CoveredPixels(const CGContext& context, const Edges& area) {
  return {FirstPixelFrom(area.left, context.width), FirstPixelFrom(area.top, context.height),
          FirstPixelFrom(area.right, context.width), FirstPixelFrom(area.bottom, context.height)};
}

bool IsEmpty(const PixelBox& box) { return box.left >= box.right || box.top >= box.bottom; }

bool IsPixelForPixel(const CGImage& image, const Edges& area) {
  return area.right - area.left == static_cast<double>(image.width) &&
         area.bottom - area.top == static_cast<double>(image.height) &&
         area.left == std::floor(area.left) && area.top == std::floor(area.top);
}

void CopyOpaquePixels(const CGImage& image, const Edges& area, const PixelBox& box,
                      const CGContext& context, RowKernel kernel) {
  size_t count = static_cast<size_t>(box.right - box.left);
  size_t rows = static_cast<size_t>(box.bottom - box.top);
  const auto imageX = static_cast<size_t>(static_cast<double>(box.left) - area.left);
  const auto imageY = static_cast<size_t>(static_cast<double>(box.top) - area.top);
  const uint8_t* source = image.pixels + imageY * image.bytesPerRow + imageX * 4;
  uint8_t* destination =
      context.Row(static_cast<size_t>(box.top)) + static_cast<size_t>(box.left) * 4;

  const bool rowsTouch = image.bytesPerRow == count * 4 && context.bytesPerRow == count * 4;
  if (rowsTouch) {
    count *= rows;
    rows = 1;
  }
  for (size_t row = 0; row < rows; ++row) {
    kernel(destination + row * context.bytesPerRow, source + row * image.bytesPerRow, count);
  }
}

void DrawImage(CGContext& context, CGRect rect, const CGImage& image) {
  const PixelLayout* layout = FindLayout(image.bitmapInfo);
  const std::optional<Edges> area = AreaInPixels(context, rect);
  if (layout == nullptr || !area) return;
  const PixelBox box = CoveredPixels(context, *area);
  if (IsEmpty(box) || !context.PrepareToWrite()) return;

  if (!layout->hasAlpha && IsPixelForPixel(image, *area)) {
    const RowKernel kernel = OpaqueRowKernel(layout->order, context.layout->order);
    CopyOpaquePixels(image, *area, box, context, kernel);
  } else {
    Composite(image, *layout, *area, box, context);
  }
}

void ClearRect(CGContext& context, CGRect rect) {
  const std::optional<Edges> area = AreaInPixels(context, rect);
  if (!area || context.isBlank) return;
  const PixelBox box = CoveredPixels(context, *area);
  if (IsEmpty(box) || !context.PrepareToWrite()) return;
  for (int64_t y = box.top; y < box.bottom; ++y) {
    memset(context.Row(static_cast<size_t>(y)) + static_cast<size_t>(box.left) * 4, 0,
           static_cast<size_t>(box.right - box.left) * 4);
  }
}

}  // namespace

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) try {
  if (context == nullptr || image == nullptr) return;
  DrawImage(*context, rect, *image);
} catch (const std::exception&) {
  // There is no way to report it: what could not be drawn is missing.
}

void CGContextClearRect(CGContextRef context, CGRect rect) try {
  if (context == nullptr) return;
  ClearRect(*context, rect);
} catch (const std::exception&) {
}
