// Copies from the screen into worlds.
#include "platform/desktop/frames/resampled_frame.h"
#include "platform/desktop/session.h"
#include "platform/guarded.h"
#include "platform/pixels/convert_rows.h"
#include "platform/pixels/resample.h"
#include "platform/quickdraw/device.h"
#include "platform/quickdraw/quickdraw.h"
#include "platform/quickdraw/world.h"

namespace qrv::quickdraw {
namespace {

pixels::Span Horizontal(const Rect& rect) { return {rect.left, rect.right}; }
pixels::Span Vertical(const Rect& rect) { return {rect.top, rect.bottom}; }

// The display's pixels that each pixel of the world shows.
struct PixelMapping {
  pixels::AxisMap columns;
  pixels::AxisMap rows;
};

PixelMapping MapPixels(const desktop::Display& display, const Rect& from, const Rect& to,
                       const Rect& target) {
  const desktop::PixelRect& bounds = display.bounds;
  const pixels::SourceAxis horizontal = {{bounds.x, int64_t{bounds.x} + bounds.width},
                                         display.pixelWidth};
  const pixels::SourceAxis vertical = {{bounds.y, int64_t{bounds.y} + bounds.height},
                                       display.pixelHeight};
  return {pixels::MapAxis(horizontal, Horizontal(from), Horizontal(to), Horizontal(target)),
          pixels::MapAxis(vertical, Vertical(from), Vertical(to), Vertical(target))};
}

void CopyScaled(const desktop::Frame& from, const OpaqueGrafPtr& world, uint8_t* target,
                const PixelMapping& mapping) {
  pixels::Resampler resampler(mapping.columns, mapping.rows, from.pixels, from.rowBytes);
  const size_t rowBytes = mapping.columns.size() * world.layout->bytesPerPixel;
  Prefaulter pages(target, (mapping.rows.size() - 1) * world.rowBytes + rowBytes);
  for (size_t row = 0; row < mapping.rows.size(); ++row) {
    uint8_t* const first = target + row * world.rowBytes;
    pages.PrefaultUpTo(first + rowBytes);
    world.layout->convert(resampler.Row(row), first, mapping.columns.size());
  }
}

void CopyDisplay(const desktop::Display& display, const OpaqueGrafPtr& world,
                 const PixelMapping& mapping) {
  const auto& [columns, rows] = mapping;
  if (columns.empty() || rows.empty()) return;
  const desktop::Frame frame =
      desktop::Capture(display, desktop::SourceOf(columns, rows), desktop::Strategy::kQuickDraw);
  if (!frame) return;
  uint8_t* const target = world.At(columns.firstTarget, rows.firstTarget);
  if (columns.IsUnscaled() && rows.IsUnscaled()) {
    pixels::ConvertRows(world.layout->convert, {frame.pixels, frame.rowBytes},
                        {target, world.rowBytes}, world.layout->bytesPerPixel, columns.size(),
                        rows.size());
  } else {
    CopyScaled(frame, world, target, mapping);
  }
}

}  // namespace
}  // namespace qrv::quickdraw

void CopyBits(const BitMap* source, const BitMap* target, const Rect* sourceRect,
              const Rect* targetRect, short mode, RgnHandle mask) {
  using namespace qrv::quickdraw;
  OpaqueGrafPtr* const world = FindWorld(IdentityOf(target));
  if (world == nullptr || sourceRect == nullptr || targetRect == nullptr) return;
  if (mode != srcCopy || mask != nullptr || FindWorld(IdentityOf(source)) != nullptr) {
    qrv::desktop::FailCapture(qrv::desktop::Reason::kUnsupported,
                              "pixels can only be copied from a screen, without a mask");
    return;
  }
  const qrv::desktop::Display* const display = FindScreen(IdentityOf(source));
  if (display == nullptr) return;
  qrv::Guarded([=] {
    CopyDisplay(*display, *world,
                MapPixels(*display, *sourceRect, *targetRect, world->map.record().bounds));
  });
}
