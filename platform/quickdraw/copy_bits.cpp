// Copies from the screen into worlds.
#include <utility>

#include <QRV/Desktop.h>
#include "platform/guarded.h"
#include "platform/page_fetcher.h"
#include "platform/pixels/resample.h"
#include "platform/quickdraw/device.h"
#include "platform/quickdraw/quickdraw.h"
#include "platform/quickdraw/world.h"

namespace qrv::quickdraw {
namespace {

pixels::Span Horizontal(const Rect& rect) { return {rect.left, rect.right}; }
pixels::Span Vertical(const Rect& rect) { return {rect.top, rect.bottom}; }

PendingCopy MapPixels(const desktop::Display& display, const Rect& from, const Rect& to,
                      const Rect& target) {
  const desktop::PixelRect& bounds = display.bounds;
  const pixels::SourceAxis horizontal = {{bounds.x, int64_t{bounds.x} + bounds.width},
                                         display.pixelWidth};
  const pixels::SourceAxis vertical = {{bounds.y, int64_t{bounds.y} + bounds.height},
                                       display.pixelHeight};
  return {display,
          pixels::MapAxis(horizontal, Horizontal(from), Horizontal(to), Horizontal(target)),
          pixels::MapAxis(vertical, Vertical(from), Vertical(to), Vertical(target))};
}

void CopyUnscaled(const desktop::Frame& from, const OpaqueGrafPtr& world, uint8_t* target,
                  const PendingCopy& copy) {
  ConvertRows(world.layout->convert, {from.pixels, from.rowBytes}, {target, world.rowBytes},
              world.layout->bytesPerPixel, copy.columns.size(), copy.rows.size());
}

void CopyScaled(const desktop::Frame& from, const OpaqueGrafPtr& world, uint8_t* target,
                const PendingCopy& copy) {
  pixels::Resampler resampler(copy.columns, copy.rows, from.pixels, from.rowBytes);
  const size_t rowBytes = copy.columns.size() * world.layout->bytesPerPixel;
  PageFetcher pages(target, (copy.rows.size() - 1) * world.rowBytes + rowBytes);
  for (size_t row = 0; row < copy.rows.size(); ++row) {
    uint8_t* const first = target + row * world.rowBytes;
    pages.Reach(first + rowBytes);
    world.layout->convert(resampler.Row(row), first, copy.columns.size());
  }
}

void Draw(const PendingCopy& copy, const OpaqueGrafPtr& world) {
  const desktop::Share share = copy.share();
  const desktop::Frame frame =
      desktop::Capture(share.display, share.part, desktop::Strategy::kQuickDraw);
  if (!frame) return;
  uint8_t* const target = world.At(copy.columns.firstTarget, copy.rows.firstTarget);
  if (copy.columns.IsPlain() && copy.rows.IsPlain()) {
    CopyUnscaled(frame, world, target, copy);
  } else {
    CopyScaled(frame, world, target, copy);
  }
}

}  // namespace

void DrawPending(OpaqueGrafPtr& world) noexcept {
  if (world.pending.empty()) return;
  const std::vector<PendingCopy> copies = std::exchange(world.pending, {});
  Guarded([&] {
    std::vector<desktop::Share> shares;
    shares.reserve(copies.size());
    for (const PendingCopy& each : copies) shares.push_back(each.share());
    desktop::ExpectCaptures(shares);
    for (const PendingCopy& each : copies) Draw(each, world);
  });
}

}  // namespace qrv::quickdraw

void CopyBits(const BitMap* source, const BitMap* target, const Rect* sourceRect,
              const Rect* targetRect, short mode, RgnHandle mask) {
  using namespace qrv::quickdraw;
  OpaqueGrafPtr* const world = FindWorld(IdentityOf(target));
  if (world == nullptr || sourceRect == nullptr || targetRect == nullptr) return;
  if (mode != srcCopy || mask != nullptr || FindWorld(IdentityOf(source)) != nullptr) {
    qrv::desktop::LosePixels("pixels were to be copied other than plainly from a screen");
    return;
  }
  const qrv::desktop::Display* const display = FindScreen(IdentityOf(source));
  if (display == nullptr) return;
  qrv::Guarded([=] {
    PendingCopy copy = MapPixels(*display, *sourceRect, *targetRect, world->map.record().bounds);
    if (!copy.columns.empty() && !copy.rows.empty()) world->pending.push_back(std::move(copy));
  });
}
