// The graphics worlds that exist, and the current port.
#ifndef PLATFORM_QUICKDRAW_WORLD_H_
#define PLATFORM_QUICKDRAW_WORLD_H_

#include <ApplicationServices/QuickDraw.h>

#include <QRV/Desktop.h>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "platform/desktop/resampled_frame.h"
#include "platform/pixels/rows.h"
#include "platform/quickdraw/pixel_map.h"

struct FreeMemory {
  void operator()(void* memory) const { free(memory); }
};

namespace qrv::quickdraw {

// A copy from a screen that is made when somebody looks at the world, so that copies from several
// screens can be under way at once. Neither map is empty.
struct PendingCopy {
  desktop::Share share() const { return {display, desktop::SourceOf(columns, rows)}; }

  desktop::Display display;
  pixels::AxisMap columns;
  pixels::AxisMap rows;
};

}  // namespace qrv::quickdraw

// A world, or the default port, which has none of this.
struct OpaqueGrafPtr {
  bool hasPixels() const { return pixels != nullptr; }

  // The address of a pixel, counted from the top-left one.
  uint8_t* At(size_t column, size_t row) const {
    return pixels.get() + row * rowBytes + column * layout->bytesPerPixel;
  }

  std::unique_ptr<uint8_t, FreeMemory> pixels;  // rows from top to bottom
  size_t rowBytes = 0;
  const qrv::pixels::WorldLayout* layout = nullptr;
  qrv::quickdraw::OwnedMap map;
  std::vector<qrv::quickdraw::PendingCopy> pending;  // in order; drawn before all else
};

namespace qrv::quickdraw {

// The world whose map has that identity, or null.
GWorldPtr FindWorld(const void* mapIdentity);

// Never null.
GrafPtr CurrentPort();

// Captures what is pending, and draws it. Pixels that can't be had are missing, or lost.
void DrawPending(OpaqueGrafPtr& world) noexcept;

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_WORLD_H_
