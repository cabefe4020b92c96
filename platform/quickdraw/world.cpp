// Graphics worlds, the current port, and access to pixels.
#include "platform/quickdraw/world.h"

#include <CoreServices/CoreServices.h>

#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include "platform/desktop/session.h"
#include "platform/quickdraw/device.h"
#include "platform/quickdraw/quickdraw.h"

namespace qrv::quickdraw {
namespace {

constexpr size_t kRowAlignment = 16;
// Of the pixels, without the padding of rows.
constexpr uint64_t kMaxWorldBytes = std::numeric_limits<int32_t>::max();

OpaqueGrafPtr defaultPort;
GrafPtr current = &defaultPort;
GWorldPtr firstWorld = nullptr;

template <typename Test>
GWorldPtr FindWorldThat(Test test) {
  GWorldPtr world = firstWorld;
  while (world != nullptr && !test(*world)) world = world->next;
  return world;
}

GWorldPtr FindWorld(PixMapHandle map) {
  return FindWorldThat([=](OpaqueGrafPtr& each) { return each.map.handle() == map; });
}

// The port as a world, or null when no such world exists.
GWorldPtr FindWorld(GrafPtr port) {
  return FindWorldThat([=](OpaqueGrafPtr& each) { return &each == port; });
}

QDErr CreateWorld(GWorldPtr& result, short depth, const Rect& bounds) {
  const pixels::WorldLayout* layout = pixels::FindWorldLayout(depth);
  const int width = bounds.right - bounds.left;
  const int height = bounds.bottom - bounds.top;
  if (layout == nullptr || width <= 0 || height <= 0) return paramErr;
  // A program that finds no device copies nothing, and would take the empty world for a capture.
  if (HasNoDevice()) return cDevErr;

  const size_t usedBytes = static_cast<size_t>(width) * layout->bytesPerPixel;
  if (uint64_t{usedBytes} * static_cast<uint64_t>(height) > kMaxWorldBytes) return memFullErr;
  const size_t rowBytes = (usedBytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;

  auto* const world = new (std::nothrow) OpaqueGrafPtr;
  if (world == nullptr) return memFullErr;
  world->pixels = static_cast<uint8_t*>(calloc(static_cast<size_t>(height), rowBytes));
  if (world->pixels == nullptr) {
    delete world;
    return memFullErr;
  }
  world->rowBytes = rowBytes;
  world->layout = layout;
  world->map.Fill(bounds, depth, reinterpret_cast<Ptr>(world->pixels), rowBytes);
  world->next = std::exchange(firstWorld, world);
  result = world;
  return noErr;
}

}  // namespace

GWorldPtr FindWorld(const void* mapIdentity) {
  return FindWorldThat(
      [=](const OpaqueGrafPtr& each) { return each.map.identity() == mapIdentity; });
}

GrafPtr CurrentPort() { return current; }

}  // namespace qrv::quickdraw

using namespace qrv::quickdraw;

QDErr NewGWorld(GWorldPtr* world, short depth, const Rect* bounds, CTabHandle, GDHandle,
                GWorldFlags) {
  if (world == nullptr || bounds == nullptr) return paramErr;
  *world = nullptr;
  return CreateWorld(*world, depth, *bounds);
}

void DisposeGWorld(GWorldPtr world) {
  GWorldPtr* link = &firstWorld;
  while (*link != nullptr && *link != world) link = &(*link)->next;
  if (*link == nullptr) return;
  *link = world->next;
  if (current == world) current = &defaultPort;
  free(world->pixels);
  delete world;
}

void GetPort(GrafPtr* port) {
  if (port != nullptr) *port = current;
}

void SetPort(GrafPtr port) {
  if (port == &defaultPort || FindWorld(port) != nullptr) current = port;
}

void SetGWorld(GWorldPtr world, GDHandle) { SetPort(world); }

Rect* GetPortBounds(GrafPtr port, Rect* bounds) {
  if (bounds == nullptr) return nullptr;
  const OpaqueGrafPtr* const world = FindWorld(port);
  *bounds = world == nullptr ? Rect{} : world->map.record().bounds;
  return bounds;
}

const BitMap* GetPortBitMapForCopyBits(GrafPtr port) {
  const OpaqueGrafPtr* const world = FindWorld(port);
  return world == nullptr ? nullptr : world->map.bitMap();
}

PixMapHandle GetGWorldPixMap(GWorldPtr port) {
  OpaqueGrafPtr* const world = FindWorld(port);
  return world == nullptr ? nullptr : world->map.handle();
}

Boolean LockPixels(PixMapHandle map) {
  return FindWorld(map) != nullptr && !qrv::desktop::HasCaptureFailed();
}

// Pixels never move, so there is nothing to unlock.
void UnlockPixels(PixMapHandle) {}

Ptr GetPixBaseAddr(PixMapHandle map) {
  const OpaqueGrafPtr* const world = FindWorld(map);
  return world == nullptr ? nullptr : world->map.record().baseAddr;
}

long GetPixRowBytes(PixMapHandle map) {
  const OpaqueGrafPtr* const world = FindWorld(map);
  return world == nullptr ? 0 : static_cast<long>(world->rowBytes);
}

short GetPixDepth(PixMapHandle map) {
  if (const OpaqueGrafPtr* const world = FindWorld(map)) return world->map.record().pixelSize;
  const qrv::desktop::Display* const display = FindScreen(map);
  return display == nullptr ? short{0} : display->quickDrawPixelSize;
}
