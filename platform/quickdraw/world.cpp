// Graphics worlds, the current port, and access to pixels.
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include <CoreServices/CoreServices.h>

#include "platform/quickdraw/device.h"
#include "platform/quickdraw/guarded.h"
#include "platform/quickdraw/port.h"
#include "platform/quickdraw/quickdraw.h"

namespace qrv::quickdraw {
namespace {

constexpr size_t kRowAlignment = 16;
// Sizes of memory are signed 32-bit numbers to the framework.
constexpr uint64_t kMaxWorldBytes = std::numeric_limits<int32_t>::max();

QDErr CreateWorld(GWorldPtr& result, short depth, const Rect& bounds) {
  const std::optional<Layout> layout = LayoutOfDepth(depth);
  const int width = bounds.right - bounds.left;
  const int height = bounds.bottom - bounds.top;
  if (!layout || width <= 0 || height <= 0) return paramErr;
  // A program that found no screen would take an untouched world for a black one.
  if (FoundNoDevice()) return cDevErr;

  const size_t usedBytes = static_cast<size_t>(width) * BytesPerPixel(*layout);
  const size_t rowBytes = (usedBytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
  if (uint64_t{rowBytes} * static_cast<uint64_t>(height) > kMaxWorldBytes) return memFullErr;

  auto world = std::make_shared<OpaqueGrafPtr>();
  world->pixels.reset(static_cast<uint8_t*>(calloc(static_cast<size_t>(height), rowBytes)));
  if (!world->pixels) return memFullErr;
  world->rowBytes = rowBytes;
  world->layout = *layout;
  world->map.Fill(bounds, depth, reinterpret_cast<Ptr>(world->pixels.get()), rowBytes);
  result = AddWorld(std::move(world));
  return noErr;
}

void MakeCurrentIfFound(GrafPtr port) {
  Guarded([=] {
    if (const PortReference found = FindPort(port)) MakeCurrent(found);
  });
}

// The world that has pixels, or null.
PortReference FindPixels(GrafPtr port) {
  PortReference found = FindPort(port);
  return found && found->hasPixels() ? found : nullptr;
}

}  // namespace
}  // namespace qrv::quickdraw

QDErr NewGWorld(GWorldPtr* world, short depth, const Rect* bounds, CTabHandle, GDHandle,
                GWorldFlags) {
  if (world == nullptr || bounds == nullptr) return paramErr;
  *world = nullptr;
  return qrv::quickdraw::Guarded<QDErr>(
      memFullErr, [=] { return qrv::quickdraw::CreateWorld(*world, depth, *bounds); });
}

void DisposeGWorld(GWorldPtr world) {
  qrv::quickdraw::Guarded([=] { qrv::quickdraw::RemoveWorld(world); });
}

void GetPort(GrafPtr* port) {
  if (port == nullptr) return;
  *port =
      qrv::quickdraw::Guarded<GrafPtr>(nullptr, [] { return qrv::quickdraw::CurrentPort().get(); });
}

void SetPort(GrafPtr port) { qrv::quickdraw::MakeCurrentIfFound(port); }

void SetGWorld(GWorldPtr world, GDHandle) { qrv::quickdraw::MakeCurrentIfFound(world); }

Rect* GetPortBounds(GrafPtr port, Rect* bounds) {
  using namespace qrv::quickdraw;
  if (bounds == nullptr) return nullptr;
  *bounds = Guarded(Rect{}, [=] {
    const PortReference found = FindPort(port);
    return found ? found->map.record().bounds : Rect{};
  });
  return bounds;
}

const BitMap* GetPortBitMapForCopyBits(GrafPtr port) {
  using namespace qrv::quickdraw;
  return Guarded<const BitMap*>(nullptr, [=] {
    const PortReference world = FindPixels(port);
    return world ? world->map.bitMap() : nullptr;
  });
}

PixMapHandle GetGWorldPixMap(GWorldPtr port) {
  using namespace qrv::quickdraw;
  return Guarded<PixMapHandle>(nullptr, [=] {
    const PortReference world = FindPixels(port);
    return world ? world->map.handle() : nullptr;
  });
}

Boolean LockPixels(PixMapHandle map) {
  using namespace qrv::quickdraw;
  return Guarded<Boolean>(false, [=] { return FindWorld(map) != nullptr; });
}

// Pixels never move, so there is nothing to unlock.
void UnlockPixels(PixMapHandle) {}

Ptr GetPixBaseAddr(PixMapHandle map) {
  using namespace qrv::quickdraw;
  return Guarded<Ptr>(nullptr, [=] {
    const PortReference world = FindWorld(map);
    return world ? reinterpret_cast<Ptr>(world->pixels.get()) : nullptr;
  });
}

long GetPixRowBytes(PixMapHandle map) {
  using namespace qrv::quickdraw;
  return Guarded<long>(0, [=] {
    const PortReference world = FindWorld(map);
    return world ? static_cast<long>(world->rowBytes) : 0;
  });
}

short GetPixDepth(PixMapHandle map) {
  using namespace qrv::quickdraw;
  return Guarded<short>(0, [=]() -> short {
    if (const PortReference world = FindWorld(map)) return world->map.record().pixelSize;
    const std::optional<Screen> screen = FindScreen(map);
    return screen ? screen->depth : short{0};
  });
}
