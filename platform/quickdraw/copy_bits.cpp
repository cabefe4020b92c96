#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/desktop/session.h"
#include "platform/quickdraw/device.h"
#include "platform/quickdraw/guarded.h"
#include "platform/quickdraw/mapping.h"
#include "platform/quickdraw/port.h"
#include "platform/quickdraw/quickdraw.h"

// Scaling is done here and not by a drawing library, because worlds have layouts that those don't
// know (big-endian 16 bits, red first), and because the choice of the nearest pixel is exact.
namespace qrv::quickdraw {
namespace {

Span Horizontal(const Rect& rect) { return {rect.left, rect.right}; }
Span Vertical(const Rect& rect) { return {rect.top, rect.bottom}; }

struct SourceArea {
  SourceAxis horizontal;
  SourceAxis vertical;
};

SourceArea AreaOf(const desktop::Display& display) {
  const desktop::PixelRect& bounds = display.bounds;
  return {{{bounds.x, int64_t{bounds.x} + bounds.width}, display.pixelWidth},
          {{bounds.y, int64_t{bounds.y} + bounds.height}, display.pixelHeight}};
}

SourceArea AreaOf(const Rect& bounds) {
  return {{Horizontal(bounds), bounds.right - bounds.left},
          {Vertical(bounds), bounds.bottom - bounds.top}};
}

struct Mapping {
  bool empty() const { return columns.empty() || rows.empty(); }

  AxisMap columns;
  AxisMap rows;
};

Mapping MapPixels(const SourceArea& source, const Rect& from, const Rect& to, const Rect& target) {
  return {MapAxis(source.horizontal, Horizontal(from), Horizontal(to), Horizontal(target)),
          MapAxis(source.vertical, Vertical(from), Vertical(to), Vertical(target))};
}

// Pixels to copy from. `owner` keeps them; null when there are none.
struct SourcePixels {
  std::shared_ptr<void> owner;
  const uint8_t* pixels = nullptr;
  size_t rowBytes = 0;
  Layout layout = Layout::kArgb32;
};

// The part of the screen that the mapping asks for; the mapping then counts from that part.
SourcePixels CaptureMapped(const desktop::Display& display, Mapping& mapping) {
  const int32_t left = mapping.columns.sources.front();
  const int32_t top = mapping.rows.sources.front();
  const desktop::PixelRect part = {left, top, mapping.columns.sources.back() - left + 1,
                                   mapping.rows.sources.back() - top + 1};
  mapping.columns.CountFrom(left);
  mapping.rows.CountFrom(top);
  desktop::Frame frame = desktop::Capture(display, part, desktop::Reader::kQuickDraw);
  return {std::move(frame.owner), frame.pixels, frame.rowBytes, Layout::kScreen32};
}

SourcePixels PixelsOf(const PortReference& world) {
  return {world, world->pixels.get(), world->rowBytes, world->layout};
}

// A copy of the rows that the mapping asks for, for a world that is copied within itself; the
// mapping then counts from the first of them.
SourcePixels SnapshotMapped(const OpaqueGrafPtr& world, Mapping& mapping) {
  const auto first = static_cast<size_t>(mapping.rows.sources.front());
  const auto end = static_cast<size_t>(mapping.rows.sources.back()) + 1;
  mapping.rows.CountFrom(mapping.rows.sources.front());
  const uint8_t* pixels = world.pixels.get();
  const auto copy = std::make_shared<std::vector<uint8_t>>(pixels + first * world.rowBytes,
                                                           pixels + end * world.rowBytes);
  return {copy, copy->data(), world.rowBytes, world.layout};
}

void CopyUnscaled(const SourcePixels& from, OpaqueGrafPtr& world, uint8_t* target,
                  const Mapping& mapping) {
  const RowCopier copyRow = RowCopierFor(from.layout, world.layout);
  const size_t sourcePixelBytes = BytesPerPixel(from.layout);
  const uint8_t* source = from.pixels +
                          static_cast<size_t>(mapping.rows.sources.front()) * from.rowBytes +
                          static_cast<size_t>(mapping.columns.sources.front()) * sourcePixelBytes;
  size_t count = mapping.columns.size();
  size_t rowCount = mapping.rows.size();
  // Rows that touch in both are one long row.
  if (count * sourcePixelBytes == from.rowBytes &&
      count * BytesPerPixel(world.layout) == world.rowBytes) {
    count *= std::exchange(rowCount, 1);
  }
  for (size_t row = 0; row < rowCount; ++row) {
    copyRow(source + row * from.rowBytes, target + row * world.rowBytes, count);
  }
}

void CopyScaled(const SourcePixels& from, OpaqueGrafPtr& world, uint8_t* target,
                const Mapping& mapping) {
  const RowPicker pickRow = RowPickerFor(from.layout, world.layout);
  for (size_t row = 0; row < mapping.rows.size(); ++row) {
    const auto sourceRow = static_cast<size_t>(mapping.rows.sources[row]);
    pickRow(from.pixels + sourceRow * from.rowBytes, mapping.columns.sources.data(),
            target + row * world.rowBytes, mapping.columns.size());
  }
}

void CopyMapped(const SourcePixels& from, OpaqueGrafPtr& world, const Mapping& mapping) {
  if (from.owner == nullptr) return;
  uint8_t* target = world.pixels.get() + mapping.rows.firstTarget * world.rowBytes +
                    mapping.columns.firstTarget * BytesPerPixel(world.layout);
  if (mapping.columns.consecutive() && mapping.rows.consecutive()) {
    CopyUnscaled(from, world, target, mapping);
  } else {
    CopyScaled(from, world, target, mapping);
  }
}

void CopyFromScreen(const Screen& screen, const Rect& from, OpaqueGrafPtr& target, const Rect& to) {
  Mapping mapping = MapPixels(AreaOf(screen.display), from, to, target.map.record().bounds);
  if (!mapping.empty()) CopyMapped(CaptureMapped(screen.display, mapping), target, mapping);
}

void CopyFromWorld(const PortReference& source, const Rect& from, OpaqueGrafPtr& target,
                   const Rect& to) {
  Mapping mapping =
      MapPixels(AreaOf(source->map.record().bounds), from, to, target.map.record().bounds);
  if (mapping.empty()) return;
  const SourcePixels pixels =
      source.get() == &target ? SnapshotMapped(target, mapping) : PixelsOf(source);
  CopyMapped(pixels, target, mapping);
}

void Copy(const void* source, const void* target, const Rect& from, const Rect& to) {
  const PortReference targetWorld = FindWorld(target);
  if (!targetWorld) return;
  if (const PortReference sourceWorld = FindWorld(source)) {
    CopyFromWorld(sourceWorld, from, *targetWorld, to);
  } else if (const std::optional<Screen> screen = FindScreen(source)) {
    CopyFromScreen(*screen, from, *targetWorld, to);
  }
}

}  // namespace
}  // namespace qrv::quickdraw

void CopyBits(const BitMap* source, const BitMap* target, const Rect* sourceRect,
              const Rect* targetRect, short mode, RgnHandle mask) {
  using namespace qrv::quickdraw;
  if (mode != srcCopy || mask != nullptr || sourceRect == nullptr || targetRect == nullptr) return;
  Guarded([=] { Copy(IdentityOf(source), IdentityOf(target), *sourceRect, *targetRect); });
}
