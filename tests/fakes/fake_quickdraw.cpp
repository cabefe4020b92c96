#include "tests/fakes/fake_quickdraw.h"

#include <algorithm>
#include <array>
#include <map>

#include "tests/fakes/fake_frameworks.h"
#include "tests/fakes/stage.h"

namespace qrv::fakes {
namespace {

struct Device {
  PixMap pixMap = {};
  PixMap* pixMapPointer = nullptr;
  GDevice record = {};
  GDevice* recordPointer = nullptr;
};

GrafPtr currentPort = nullptr;
OpaqueGrafPtr screenPort;

std::string Text(const Rect& rect) {
  return "{" + Join(rect.top, rect.left, rect.bottom, rect.right) + "}";
}

// The devices of the stage's displays, made anew at each call for the list.
std::array<Device, 32>& Devices() {
  static std::array<Device, 32> devices;
  return devices;
}

GDHandle HandleOf(size_t index) {
  return index < TheStage().displays.size() ? &Devices()[index].recordPointer : nullptr;
}

GDHandle MakeDevices() {
  const auto& displays = TheStage().displays;
  for (size_t i = 0; i < displays.size(); ++i) {
    const FakeDisplay& display = displays[i];
    Device& device = Devices()[i];
    device.pixMap.bounds = {static_cast<short>(display.y), static_cast<short>(display.x),
                            static_cast<short>(display.y + display.height),
                            static_cast<short>(display.x + display.width)};
    device.pixMap.pixelSize = static_cast<short>(display.depth);
    device.pixMapPointer = &device.pixMap;
    device.record.gdPMap = &device.pixMapPointer;
    device.recordPointer = &device.record;
  }
  return HandleOf(0);
}

GDHandle FakeGetDeviceList() {
  Record("GetDeviceList");
  return Refused("GetDeviceList") ? nullptr : MakeDevices();
}

GDHandle FakeGetMainDevice() {
  Record("GetMainDevice");
  return Refused("GetMainDevice") ? nullptr : MakeDevices();
}

GDHandle FakeGetNextDevice(GDHandle device) {
  Record("GetNextDevice");
  for (size_t i = 0; i < TheStage().displays.size(); ++i) {
    if (HandleOf(i) == device) return HandleOf(i + 1);
  }
  return nullptr;
}

QDErr FakeNewGWorld(GWorldPtr* world, short depth, const Rect* bounds, CTabHandle, GDHandle,
                    GWorldFlags flags) {
  Record("NewGWorld " + Join(depth) + " " + Text(*bounds) + " " + Join(flags));
  const int width = bounds->right - bounds->left;
  const int height = bounds->bottom - bounds->top;
  if (width < 1 || height < 1) return paramErr;
  if (Refused("NewGWorld")) return memFullErr;
  *world = MakeWorld(width, height, depth);
  (*world)->bounds = *bounds;
  return noErr;
}

void FakeDisposeGWorld(GWorldPtr world) {
  Record("DisposeGWorld");
  Released(world, "world");
  if (currentPort == world) {
    TheStage().faults.emplace_back("the current port was disposed of");
    currentPort = nullptr;
  }
  delete world;
}

void FakeGetPort(GrafPtr* port) {
  Record("GetPort");
  *port = CurrentPort();
}

void FakeSetPort(GrafPtr port) {
  Record("SetPort");
  currentPort = port;
}

void FakeSetGWorld(GWorldPtr world, GDHandle) {
  Record("SetGWorld");
  currentPort = world;
}

Pattern* FakeGetQDGlobalsBlack(Pattern* black) {
  Record("GetQDGlobalsBlack");
  std::fill(std::begin(black->pat), std::end(black->pat), static_cast<UInt8>(255));
  return black;
}

void FakeFillRect(const Rect* rect, const Pattern*) {
  Record("FillRect " + Text(*rect));
  auto& memory = CurrentPort()->memory;
  std::fill(memory.begin(), memory.end(), static_cast<uint8_t>(0));
}

void FakeForeColor(long colour) { Record("ForeColor " + Join(colour)); }
void FakeBackColor(long colour) { Record("BackColor " + Join(colour)); }

Boolean FakeSectRect(const Rect* a, const Rect* b, Rect* out) {
  const Rect common = {std::max(a->top, b->top), std::max(a->left, b->left),
                       std::min(a->bottom, b->bottom), std::min(a->right, b->right)};
  const bool meet = common.top < common.bottom && common.left < common.right;
  *out = meet ? common : Rect{};
  return meet;
}

const BitMap* FakeGetPortBitMapForCopyBits(GWorldPtr world) {
  Record("GetPortBitMapForCopyBits");
  return reinterpret_cast<const BitMap*>(&world->pixMap);
}

// From the screen into the current world of 32 bits, or of 24 or 8 with red alone as the level.
void FakeCopyBits(const BitMap* source, const BitMap* destination, const Rect* from, const Rect* to,
                  short mode, RgnHandle mask) {
  const auto* device = reinterpret_cast<const PixMap*>(source);
  Record("CopyBits " + Text(*from) + " " + Text(*to) + " " + Join(mode) + (mask ? " masked" : ""));
  if (device->bounds.left > from->left) TheStage().faults.emplace_back("copy from off the device");
  for (const auto& [object, kind] : TheStage().held) {
    auto* world = static_cast<GWorldPtr>(const_cast<void*>(object));
    if (kind != "world" || reinterpret_cast<const BitMap*>(&world->pixMap) != destination) continue;
    const int width = to->right - to->left;
    const int height = to->bottom - to->top;
    for (int y = std::max(to->top, world->bounds.top);
         y < std::min(to->bottom, world->bounds.bottom); ++y) {
      for (int x = std::max(to->left, world->bounds.left);
           x < std::min(to->right, world->bounds.right); ++x) {
        const uint32_t colour =
            ScreenColour(from->left + (x - to->left) * (from->right - from->left) / width,
                         from->top + (y - to->top) * (from->bottom - from->top) / height);
        const int bytes = world->depth / 8;
        uint8_t* pixel = world->memory.data() + (y - world->bounds.top) * world->rowBytes +
                         static_cast<ptrdiff_t>(x - world->bounds.left) * bytes;
        for (int i = 0; i < bytes; ++i) {
          pixel[i] = static_cast<uint8_t>(colour >> 8 * (bytes - 1 - i));
        }
      }
    }
  }
}

PixMapHandle FakeGetGWorldPixMap(GWorldPtr world) {
  Record("GetGWorldPixMap");
  return Refused("GetGWorldPixMap") ? nullptr : &world->pixMapPointer;
}

GWorldPtr WorldOf(PixMapHandle pixMap) { return static_cast<GWorldPtr>((*pixMap)->pmExt); }

Boolean FakeLockPixels(PixMapHandle pixMap) {
  Record("LockPixels");
  if (Refused("LockPixels")) return false;
  Created(WorldOf(pixMap), "pixel lock");
  return true;
}

void FakeUnlockPixels(PixMapHandle pixMap) {
  Record("UnlockPixels");
  Released(WorldOf(pixMap), "pixel lock");
}

Ptr FakeGetPixBaseAddr(PixMapHandle pixMap) {
  Record("GetPixBaseAddr");
  if (Refused("GetPixBaseAddr")) return nullptr;
  return reinterpret_cast<Ptr>(WorldOf(pixMap)->memory.data());
}

long FakeGetPixRowBytes(PixMapHandle pixMap) {
  Record("GetPixRowBytes");
  return WorldOf(pixMap)->rowBytes;
}

short FakeGetPixDepth(PixMapHandle pixMap) {
  Record("GetPixDepth");
  return WorldOf(pixMap)->depth;
}

Rect* FakeGetPortBounds(GWorldPtr world, Rect* bounds) {
  Record("GetPortBounds");
  *bounds = world->bounds;
  return bounds;
}

}  // namespace

#define QRV_ENTRY(name) \
  { #name, reinterpret_cast < void*>(Fake##name) }

void* QuickDrawFunction(const std::string& name) {
  static const std::map<std::string, void*> kFunctions = {
      QRV_ENTRY(GetDeviceList),  QRV_ENTRY(GetNextDevice),
      QRV_ENTRY(GetMainDevice),  QRV_ENTRY(NewGWorld),
      QRV_ENTRY(DisposeGWorld),  QRV_ENTRY(GetPort),
      QRV_ENTRY(SetPort),        QRV_ENTRY(SetGWorld),
      QRV_ENTRY(FillRect),       QRV_ENTRY(GetQDGlobalsBlack),
      QRV_ENTRY(ForeColor),      QRV_ENTRY(BackColor),
      QRV_ENTRY(SectRect),       QRV_ENTRY(GetPortBitMapForCopyBits),
      QRV_ENTRY(CopyBits),       QRV_ENTRY(GetGWorldPixMap),
      QRV_ENTRY(LockPixels),     QRV_ENTRY(UnlockPixels),
      QRV_ENTRY(GetPixBaseAddr), QRV_ENTRY(GetPixRowBytes),
      QRV_ENTRY(GetPixDepth),    QRV_ENTRY(GetPortBounds),
  };
  const auto found = kFunctions.find(name);
  return found == kFunctions.end() ? nullptr : found->second;
}

GWorldPtr MakeWorld(int width, int height, short depth, long rowBytes) {
  auto* world = new OpaqueGrafPtr;
  world->bounds = {0, 0, static_cast<short>(height), static_cast<short>(width)};
  world->depth = depth;
  world->rowBytes = rowBytes != 0 ? rowBytes : static_cast<long>(width) * depth / 8;
  world->memory.resize(static_cast<size_t>(world->rowBytes) * static_cast<size_t>(height));
  world->pixMap.pmExt = world;
  world->pixMapPointer = &world->pixMap;
  Created(world, "world");
  return world;
}

GrafPtr CurrentPort() { return currentPort != nullptr ? currentPort : &screenPort; }
void SetCurrentPort(GrafPtr port) { currentPort = port; }

}  // namespace qrv::fakes
