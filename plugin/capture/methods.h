// The functions behind the registered methods, each under the name by which screenshotqrv/host.h
// says what it does. The host calls them on the program's thread.
#ifndef PLUGIN_CAPTURE_METHODS_H_
#define PLUGIN_CAPTURE_METHODS_H_

#include <screenshotqrv/host.h>
#include <stdint.h>

REALpictureStruct* ScreenshotQRV();
REALpictureStruct* ScreenshotDisplayQRV(int32_t index);
REALpictureStruct* ScreenshotRectQRV(int32_t left, int32_t top, int32_t width, int32_t height);
REALpictureStruct* ScreenshotRectDestQRV(int32_t left, int32_t top, int32_t width, int32_t height,
                                         int32_t destwidth, int32_t destheight);
REALstringStruct* ScreenshotStringQRV(int32_t& width, int32_t& height, int32_t& rowBytes);
REALstringStruct* ScreenshotStringDisplayQRV(int32_t& width, int32_t& height, int32_t& rowBytes,
                                             int32_t index);
REALpictureStruct* ScreenshotFromStringQRV(int32_t width, int32_t height, int32_t rowBytes,
                                           REALstringStruct* data);

#endif  // PLUGIN_CAPTURE_METHODS_H_
