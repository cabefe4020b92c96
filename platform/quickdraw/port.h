// Ports: the graphics worlds that exist, the default port, and each thread's current port.
//
// A port is looked up under a lock and held by a shared pointer while it is used, so that disposing
// of it elsewhere never pulls its memory from under a drawing function.
#ifndef PLATFORM_QUICKDRAW_PORT_H_
#define PLATFORM_QUICKDRAW_PORT_H_

#include <ApplicationServices/QuickDraw.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "platform/quickdraw/pixel_map.h"
#include "platform/quickdraw/rows.h"

struct FreeMemory {
  void operator()(void* memory) const { free(memory); }
};

struct OpaqueGrafPtr {
  // False for the default port, whose other fields up to the colours have no meaning.
  bool hasPixels() const { return pixels != nullptr; }

  std::unique_ptr<uint8_t, FreeMemory> pixels;  // rows from top to bottom
  size_t rowBytes = 0;
  qrv::quickdraw::Layout layout = qrv::quickdraw::Layout::kArgb32;
  qrv::quickdraw::OwnedMap map;
  std::atomic<long> foreColor = blackColor;
  std::atomic<long> backColor = whiteColor;
};

namespace qrv::quickdraw {

using PortReference = std::shared_ptr<OpaqueGrafPtr>;

// Makes `world` one of the ports that exist.
GWorldPtr AddWorld(PortReference world);
void RemoveWorld(GWorldPtr world);

// The port, if it exists, else null.
PortReference FindPort(GrafPtr port);
// The world of that map, if it exists, else null.
PortReference FindWorld(PixMapHandle map);
PortReference FindWorld(const void* mapIdentity);

// This thread's current port, never null.
PortReference CurrentPort();
void MakeCurrent(const PortReference& port);

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_PORT_H_
