// The functions behind the registered methods. The host calls them on the program's thread.
//
// Capture rectangles are in the global display space: units, origin at the main display's top-left
// corner, y growing downward, right and bottom edges exclusive. Sizes of results are in pixels.
// A picture or string that is returned is new and carries one host reference, which is the
// caller's. Nil says that there is no such display, that no picture can be of that size, or that
// the platform or the host refused. What lies on no display is no failure: a rectangle that meets
// none is a picture, too.
#ifndef PLUGIN_CAPTURE_METHODS_H_
#define PLUGIN_CAPTURE_METHODS_H_

#include <stdint.h>

#include "plugin/host/host_types.h"

// The main display.
REALpictureStruct* ScreenshotQRV();

// The display with that index, counted from 0.
REALpictureStruct* ScreenshotDisplayQRV(int32_t index);

// A rectangle of the desktop at its own size.
REALpictureStruct* ScreenshotRectQRV(int32_t left, int32_t top, int32_t width, int32_t height);

// A rectangle of the desktop, scaled to another size.
REALpictureStruct* ScreenshotRectDestQRV(int32_t left, int32_t top, int32_t width, int32_t height,
                                         int32_t destwidth, int32_t destheight);

// The main display's pixels: rows from the bottom upward, 4 bytes a pixel: blue, green, red, alpha.
// The three numbers are 0 when nothing was read.
REALstringStruct* ScreenshotStringQRV(int32_t& width, int32_t& height, int32_t& rowBytes);

// The same for the display with that index.
REALstringStruct* ScreenshotStringDisplayQRV(int32_t& width, int32_t& height, int32_t& rowBytes,
                                             int32_t index);

// A picture of such pixels, of `width` x `height` pixels and `rowBytes` bytes from one row to the
// next. The string stays the caller's.
REALpictureStruct* ScreenshotFromStringQRV(int32_t width, int32_t height, int32_t rowBytes,
                                           REALstringStruct* data);

#endif  // PLUGIN_CAPTURE_METHODS_H_
