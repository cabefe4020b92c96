// Copies from QuickDraw's screen devices into offscreen worlds.
#ifndef PLUGIN_CAPTURE_SCREEN_DEVICES_H_
#define PLUGIN_CAPTURE_SCREEN_DEVICES_H_

#include <screenshotqrv/host.h>

#include "plugin/quickdraw/quickdraw.h"

namespace capture {

// A rectangle of the desktop, and the size of its picture.
struct DeviceRequest {
  int32_t left;
  int32_t top;
  int32_t width;
  int32_t height;
  int32_t destinationWidth;
  int32_t destinationHeight;
};

// Maps a device's part of the request, in global coordinates, into the picture.
using MapPart = Rect (*)(const DeviceRequest& request, const Rect& part);

// A picture of one whole device, or nil. `bounds` are the world's: the device's own, or the same
// size at another origin.
REALpictureStruct* PictureOfDevice(const PixMap& device, const Rect& bounds);

// A picture of the request, composed of every device's part; black where there is no device.
REALpictureStruct* PictureOfDevices(const DeviceRequest& request, MapPart map);

// The device's pixels, or null.
const PixMap* DevicePixels(GDHandle device);

// QuickDraw's rectangle with those edges, each truncated to its low 16 bits.
Rect MakeRect(int32_t top, int32_t left, int32_t bottom, int32_t right);

}  // namespace capture

#endif  // PLUGIN_CAPTURE_SCREEN_DEVICES_H_
