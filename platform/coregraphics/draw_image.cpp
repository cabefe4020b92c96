// Drawing into bitmap contexts. User space grows upward from the bottom-left corner; everything
// here is turned into pixels from the top-left corner first. A pixel belongs to a rectangle when
// its centre does.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include <QRV/Desktop.h>
#include "platform/coregraphics/bitmap.h"
#include "platform/coregraphics/rectangles.h"
#include "platform/guarded.h"
#include "platform/page_fetcher.h"

namespace {

using qrv::coregraphics::DrawPending;
using qrv::coregraphics::Edges;
using qrv::coregraphics::EdgesOf;
using qrv::coregraphics::HasMemory;
using qrv::coregraphics::PendingDraw;

// Pixels of a context, counted from its top-left corner; right and bottom exclusive.
struct PixelBox {
  size_t width() const { return right - left; }
  size_t height() const { return bottom - top; }
  bool empty() const { return left >= right || top >= bottom; }

  size_t left;
  size_t top;
  size_t right;
  size_t bottom;
};

// The rectangle of user space in pixels from the context's top-left corner.
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

PixelBox CoveredPixels(const CGContext& context, const Edges& area) {
  return {FirstPixelFrom(area.left, context.width), FirstPixelFrom(area.top, context.height),
          FirstPixelFrom(area.right, context.width), FirstPixelFrom(area.bottom, context.height)};
}

uint8_t* FirstPixel(const CGContext& context, const PixelBox& box) {
  return context.Row(box.top) + box.left * 4;
}

bool IsPixelForPixel(const CGImage& image, const Edges& area) {
  return area.right - area.left == static_cast<double>(image.width) &&
         area.bottom - area.top == static_cast<double>(image.height) &&
         area.left == std::floor(area.left) && area.top == std::floor(area.top);
}

// `area` is where all of the image would go.
void CopyPixels(const CGImage& image, const Edges& area, const PixelBox& box,
                const CGContext& context) {
  const auto imageX = static_cast<size_t>(static_cast<double>(box.left) - area.left);
  const auto imageY = static_cast<size_t>(static_cast<double>(box.top) - area.top);
  const qrv::pixels::RowKernel kernel = qrv::pixels::ReorderingKernel(
      image.layout.order, context.layout.order, image.layout.hasAlpha);
  qrv::ConvertRows(kernel,
                   {image.pixels + imageY * image.bytesPerRow + imageX * 4, image.bytesPerRow},
                   {FirstPixel(context, box), context.bytesPerRow}, 4, box.width(), box.height());
}

// The pages of the rows that are drawn, while the desktop captures what is drawn there.
void FetchRows(const CGContext& context, const std::vector<PendingDraw>& draws) {
  size_t top = context.height;
  size_t bottom = 0;
  for (const PendingDraw& each : draws) {
    const PixelBox box = CoveredPixels(context, each.area);
    top = std::min(top, box.top);
    bottom = std::max(bottom, box.bottom);
  }
  if (top < bottom) qrv::FetchPages(context.Row(top), (bottom - top) * context.bytesPerRow);
}

}  // namespace

void qrv::coregraphics::DrawPending(CGContext& context) noexcept {
  if (context.pending.empty()) return;
  const std::vector<PendingDraw> draws = std::exchange(context.pending, {});
  const bool wasIncomplete = std::exchange(context.isIncomplete, true);
  if (!HasMemory(context)) return;
  Guarded([&] {
    std::vector<desktop::Share> shares;
    shares.reserve(draws.size());
    for (const PendingDraw& each : draws) {
      if (!each.part->isBegun()) shares.push_back(each.part->share());
    }
    if (shares.empty() || desktop::ExpectCaptures(shares)) FetchRows(context, draws);
    bool isMissed = false;
    for (const PendingDraw& each : draws) {
      const desktop::Frame frame = each.part->Capture();
      if (frame) CopyPixels(ImageOf(frame), each.area, CoveredPixels(context, each.area), context);
      isMissed = isMissed || (!frame && each.part->isBegun());
    }
    context.isIncomplete = wasIncomplete || isMissed;
  });
}

void CGContextDrawImage(CGContextRef context, CGRect rect, CGImageRef image) {
  if (!qrv::coregraphics::IsContext(context) || image == nullptr) return;
  const std::optional<Edges> area = AreaInPixels(*context, rect);
  if (!area) return;
  const PixelBox box = CoveredPixels(*context, *area);
  if (box.empty()) return;
  if (context->hasImage || !IsPixelForPixel(*image, *area)) {
    qrv::desktop::LosePixels("an image was to be drawn other than pixel for pixel");
    return;
  }
  if (image->toCapture) {
    const bool isIncomplete = std::exchange(context->isIncomplete, true);
    qrv::Guarded([&] {
      context->pending.push_back({image->toCapture, *area});
      context->isIncomplete = isIncomplete;
    });
    // The caller may look at its own memory at any time.
    if (!context->isOwn) DrawPending(*context);
    return;
  }
  DrawPending(*context);
  if (!HasMemory(*context)) return;
  CopyPixels(*image, *area, box, *context);
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  if (!qrv::coregraphics::IsContext(context)) return;
  DrawPending(*context);
  if (context->pixels == nullptr) return;  // all zero as yet, or an image's
  const std::optional<Edges> area = AreaInPixels(*context, rect);
  if (!area) return;
  const PixelBox box = CoveredPixels(*context, *area);
  if (box.empty()) return;
  for (size_t row = 0; row < box.height(); ++row) {
    memset(FirstPixel(*context, box) + row * context->bytesPerRow, 0, box.width() * 4);
  }
}
