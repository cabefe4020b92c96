// The graphics worlds that exist, and the current port.
#ifndef PLATFORM_QUICKDRAW_WORLD_H_
#define PLATFORM_QUICKDRAW_WORLD_H_

#include <ApplicationServices/QuickDraw.h>

#include <cstdint>

#include "platform/pixels/rows.h"
#include "platform/quickdraw/pixel_map.h"

// A world, or the default port, whose members are all null or 0.
struct OpaqueGrafPtr {
  bool HasPixels() const { return pixels != nullptr; }

  // The address of the pixel at a column and row, counted from the top-left pixel.
  uint8_t* At(size_t column, size_t row) const {
    return pixels + row * rowBytes + column * layout->bytesPerPixel;
  }

  uint8_t* pixels = nullptr;  // rows from top to bottom
  size_t rowBytes = 0;
  const qrv::pixels::WorldLayout* layout = nullptr;
  qrv::quickdraw::OwnedMap map;
  OpaqueGrafPtr* next = nullptr;  // in the list of worlds
};

namespace qrv::quickdraw {

// The world whose map has that identity, or null.
GWorldPtr FindWorld(const void* mapIdentity);

// Never null.
GrafPtr CurrentPort();

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_WORLD_H_
