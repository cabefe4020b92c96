// QuickDraw's devices, one for each display of the desktop.
#ifndef PLATFORM_QUICKDRAW_DEVICE_H_
#define PLATFORM_QUICKDRAW_DEVICE_H_

#include <ApplicationServices/QuickDraw.h>

#include "platform/desktop/display.h"

namespace qrv::quickdraw {

// The display of the device with that map, or null when it is not in the latest list. Valid until
// the next list.
const desktop::Display* FindScreen(PixMapHandle map);
const desktop::Display* FindScreen(const void* mapIdentity);

// Whether there is no device: the latest list was empty, or there was no list yet.
bool HasNoDevice();

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_DEVICE_H_
