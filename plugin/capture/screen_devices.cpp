#include "plugin/capture/screen_devices.h"

#include "plugin/capture/wrapping.h"
#include "plugin/picture/world_picture.h"

namespace capture {
namespace {

// Copies a rectangle of the device onto a rectangle of the world. Sets the colours of the current
// port so that the copy does not change the pixels.
void CopyPart(const PixMap& device, GWorldPtr world, const Rect& source, const Rect& destination) {
  ForeColor(blackColor);
  BackColor(whiteColor);
  const BitMap* target = GetPortBitMapForCopyBits(world);
  if (target == nullptr) return;
  CopyBits(reinterpret_cast<const BitMap*>(&device), target, &source, &destination, srcCopy,
           nullptr);
}

GWorldPtr MakeWorld(short depth, const Rect& bounds) {
  GWorldPtr world = nullptr;
  return NewGWorld(&world, depth, &bounds, nullptr, nullptr, 0) == noErr ? world : nullptr;
}

void FillBlack(const Rect& rect) {
  Pattern storage = {};
  const Pattern* black = GetQDGlobalsBlack(&storage);
  if (black != nullptr) FillRect(&rect, black);
}

void CopyDevices(const DeviceRequest& request, MapPart map, GDHandle firstDevice, GWorldPtr world) {
  const Rect source = MakeRect(request.top, request.left, WrappingAdd(request.top, request.height),
                               WrappingAdd(request.left, request.width));
  for (GDHandle device = firstDevice; device != nullptr; device = GetNextDevice(device)) {
    const PixMap* pixels = DevicePixels(device);
    Rect part = {};
    if (pixels == nullptr || !SectRect(&pixels->bounds, &source, &part)) continue;
    CopyPart(*pixels, world, part, map(request, part));
  }
}

}  // namespace

Rect MakeRect(int32_t top, int32_t left, int32_t bottom, int32_t right) {
  return {static_cast<short>(top), static_cast<short>(left), static_cast<short>(bottom),
          static_cast<short>(right)};
}

const PixMap* DevicePixels(GDHandle device) {
  if (device == nullptr || *device == nullptr || (*device)->gdPMap == nullptr) return nullptr;
  return *(*device)->gdPMap;
}

REALpictureStruct* PictureOfDevice(const PixMap& device, const Rect& bounds) {
  GWorldPtr world = MakeWorld(device.pixelSize, bounds);
  if (world == nullptr) return nullptr;
  CopyPart(device, world, device.bounds, bounds);
  return REALBuildPictureFromGWorld(world);
}

REALpictureStruct* PictureOfDevices(const DeviceRequest& request, MapPart map) {
  const Rect worldRect = MakeRect(0, 0, request.destinationHeight, request.destinationWidth);
  GDHandle firstDevice = GetDeviceList();
  GWorldPtr world = MakeWorld(32, worldRect);
  if (world == nullptr) return nullptr;
  GrafPtr savedPort = nullptr;
  GetPort(&savedPort);
  SetGWorld(world, nullptr);
  FillBlack(worldRect);
  CopyDevices(request, map, firstDevice, world);
  if (savedPort != nullptr) SetPort(savedPort);
  return REALBuildPictureFromGWorld(world);
}

}  // namespace capture
