// Devices: a record for each display of the desktop.
#ifndef PLATFORM_QUICKDRAW_DEVICE_H_
#define PLATFORM_QUICKDRAW_DEVICE_H_

#include <ApplicationServices/QuickDraw.h>

#include "platform/desktop/display.h"

namespace qrv::quickdraw {

// The display that the device of that map stands for, or null when it is none of the latest list.
// Valid until the next list.
const desktop::Display* FindScreen(PixMapHandle map);
const desktop::Display* FindScreen(const void* mapIdentity);

// Whether there is no device: the latest list had none, or there was none yet.
bool HasNoDevice();

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_DEVICE_H_
