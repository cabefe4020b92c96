// Copies from the screen into worlds.
#include <utility>

#include <QRV/Desktop.h>
#include "platform/guarded.h"
#include "platform/pixels/resample.h"
#include "platform/quickdraw/device.h"
#include "platform/quickdraw/quickdraw.h"
#include "platform/quickdraw/world.h"

namespace qrv::quickdraw {
namespace {

constexpr size_t kScreenPixelBytes = 4;

pixels::Span Horizontal(const Rect& rect) { return {rect.left, rect.right}; }
pixels::Span Vertical(const Rect& rect) { return {rect.top, rect.bottom}; }

struct Mapping {
  bool empty() const { return columns.empty() || rows.empty(); }

  pixels::AxisMap columns;
  pixels::AxisMap rows;
};

Mapping MapPixels(const desktop::Display& display, const Rect& from, const Rect& to,
                  const Rect& target) {
  const desktop::PixelRect& bounds = display.bounds;
  const pixels::SourceAxis horizontal = {{bounds.x, int64_t{bounds.x} + bounds.width},
                                         display.pixelWidth};
  const pixels::SourceAxis vertical = {{bounds.y, int64_t{bounds.y} + bounds.height},
                                       display.pixelHeight};
  return {pixels::MapAxis(horizontal, Horizontal(from), Horizontal(to), Horizontal(target)),
          pixels::MapAxis(vertical, Vertical(from), Vertical(to), Vertical(target))};
}

// The part of the screen that the mapping asks for.
desktop::Frame CaptureMapped(const desktop::Display& display, const Mapping& mapping) {
  const int32_t left = mapping.columns.FirstSource();
  const int32_t top = mapping.rows.FirstSource();
  return desktop::Capture(
      display, {left, top, mapping.columns.EndOfSource() - left, mapping.rows.EndOfSource() - top},
      desktop::Strategy::kQuickDraw);
}

void CopyUnscaled(const desktop::Frame& from, const OpaqueGrafPtr& world, uint8_t* target,
                  const Mapping& mapping) {
  const pixels::WorldLayout& layout = *world.layout;
  size_t count = mapping.columns.size();
  size_t rowCount = mapping.rows.size();
  // Rows that touch in both are one long row.
  if (count * kScreenPixelBytes == from.rowBytes &&
      count * layout.bytesPerPixel == world.rowBytes) {
    count *= std::exchange(rowCount, 1);
  }
  for (size_t row = 0; row < rowCount; ++row) {
    layout.convert(from.pixels + row * from.rowBytes, target + row * world.rowBytes, count);
  }
}

void CopyScaled(const desktop::Frame& from, const OpaqueGrafPtr& world, uint8_t* target,
                const Mapping& mapping) {
  pixels::Resampler resampler(mapping.columns, mapping.rows, from.pixels, from.rowBytes);
  for (size_t row = 0; row < mapping.rows.size(); ++row) {
    world.layout->convert(resampler.Row(row), target + row * world.rowBytes,
                          mapping.columns.size());
  }
}

void Copy(const desktop::Display& display, const Rect& from, const OpaqueGrafPtr& world,
          const Rect& to) {
  const Mapping mapping = MapPixels(display, from, to, world.map.record().bounds);
  if (mapping.empty()) return;
  const desktop::Frame frame = CaptureMapped(display, mapping);
  if (!frame) return;
  uint8_t* const target = world.At(mapping.columns.firstTarget, mapping.rows.firstTarget);
  if (mapping.columns.IsPlain() && mapping.rows.IsPlain()) {
    CopyUnscaled(frame, world, target, mapping);
  } else {
    CopyScaled(frame, world, target, mapping);
  }
}

}  // namespace
}  // namespace qrv::quickdraw

void CopyBits(const BitMap* source, const BitMap* target, const Rect* sourceRect,
              const Rect* targetRect, short mode, RgnHandle mask) {
  using namespace qrv::quickdraw;
  const OpaqueGrafPtr* const world = FindWorld(IdentityOf(target));
  if (world == nullptr || sourceRect == nullptr || targetRect == nullptr) return;
  if (mode != srcCopy || mask != nullptr || FindWorld(IdentityOf(source)) != nullptr) {
    qrv::desktop::LosePixels("pixels were to be copied other than plainly from a screen");
    return;
  }
  const qrv::desktop::Display* const display = FindScreen(IdentityOf(source));
  if (display == nullptr) return;
  qrv::Guarded([=] { Copy(*display, *sourceRect, *world, *targetRect); });
}
