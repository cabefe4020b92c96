// Devices: a record for each display of the desktop.
#ifndef PLATFORM_QUICKDRAW_DEVICE_H_
#define PLATFORM_QUICKDRAW_DEVICE_H_

#include <ApplicationServices/QuickDraw.h>

#include <optional>

#include "platform/desktop/desktop.h"

namespace qrv::quickdraw {

// What a device's pixel map stands for.
struct Screen {
  desktop::Display display;
  short depth = 0;
};

// The screen of that map, if it belongs to a display of the latest list.
std::optional<Screen> FindScreen(PixMapHandle map);
std::optional<Screen> FindScreen(const void* mapIdentity);

// Whether the latest list had no device: there was no desktop, or it did not answer.
bool FoundNoDevice();

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_DEVICE_H_
