#include "platform/quickdraw/device.h"

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "platform/desktop/session.h"
#include "platform/quickdraw/pixel_map.h"
#include "platform/quickdraw/quickdraw.h"

namespace qrv::quickdraw {
namespace {

struct Device {
  GDHandle handle() { return &pointer; }

  GDevice record = {};
  GDevice* pointer = &record;
  OwnedMap map;
  desktop::Display display;
};

// The first `liveCount` devices are the displays of the latest list, in its order. The others stay
// because programs may still have handles to them. Displays beyond the array are left out.
std::array<Device, 256> devices;
size_t liveCount = 0;

short Saturate(int64_t coordinate) {
  return static_cast<short>(std::clamp<int64_t>(coordinate, std::numeric_limits<short>::min(),
                                                std::numeric_limits<short>::max()));
}

Rect BoundsOf(const desktop::PixelRect& rect) {
  return {Saturate(rect.y), Saturate(rect.x), Saturate(int64_t{rect.y} + rect.height),
          Saturate(int64_t{rect.x} + rect.width)};
}

void Fill(Device& device, const desktop::Display& display) {
  const Rect bounds = BoundsOf(display.bounds);
  device.display = display;
  device.map.Fill(bounds, display.quickDrawPixelSize, nullptr, 0);
  device.record = GDevice{};
  device.record.gdPMap = device.map.handle();
  device.record.gdRect = bounds;
}

void FillAll(const std::vector<desktop::Display>& displays) {
  liveCount = std::min(displays.size(), devices.size());
  for (size_t i = 0; i < liveCount; ++i) Fill(devices[i], displays[i]);
  for (size_t i = 1; i < liveCount; ++i) devices[i - 1].record.gdNextGD = devices[i].handle();
}

GDHandle RefreshDevices() {
  liveCount = 0;
  if (const auto* displays = desktop::RefreshDisplays()) FillAll(*displays);
  return liveCount == 0 ? nullptr : devices.front().handle();
}

template <typename Test>
Device* FindDeviceThat(Test test) {
  auto* const end = devices.data() + liveCount;
  auto* const found = std::find_if(devices.data(), end, test);
  return found == end ? nullptr : found;
}

template <typename Test>
const desktop::Display* FindScreenThat(Test test) {
  const Device* const device = FindDeviceThat(test);
  return device == nullptr ? nullptr : &device->display;
}

}  // namespace

const desktop::Display* FindScreen(PixMapHandle map) {
  return FindScreenThat([=](Device& device) { return device.map.handle() == map; });
}

const desktop::Display* FindScreen(const void* mapIdentity) {
  return FindScreenThat([=](const auto& device) { return device.map.identity() == mapIdentity; });
}

bool HasNoDevice() { return liveCount == 0; }

}  // namespace qrv::quickdraw

using namespace qrv::quickdraw;

GDHandle GetDeviceList() { return RefreshDevices(); }

GDHandle GetMainDevice() { return RefreshDevices(); }

GDHandle GetNextDevice(GDHandle device) {
  const Device* const found = FindDeviceThat([=](Device& each) { return each.handle() == device; });
  return found == nullptr ? nullptr : found->record.gdNextGD;
}
