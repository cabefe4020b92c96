// Captures of whole displays: by display image where the system has those, else by OpenGL
// read-back, else by a copy from the QuickDraw device.

#include "plugin/capture/display_choice.h"
#include "plugin/capture/methods.h"
#include "plugin/capture/opengl_readback.h"
#include "plugin/capture/screen_devices.h"
#include "plugin/picture/image_picture.h"

namespace {

using capture::DevicePixels;

// An image of the whole display, owned by the caller; null where display images are unavailable.
CGImageRef CreateDisplayImage(CGDirectDisplayID display) {
  if (!capture::SystemHasDisplayImages() || CGDisplayCreateImage == nullptr) return nullptr;
  return CGDisplayCreateImage(display);
}

// True when there was a display image: then its picture, even when nil, is the method's result.
bool CaptureByDisplayImage(CGDirectDisplayID display, REALpictureStruct*& picture) {
  CGImageRef image = CreateDisplayImage(display);
  if (image == nullptr) return false;
  picture = GetCGImagePicture(image);
  CGImageRelease(image);
  return true;
}

REALpictureStruct* CaptureMainDevice() {
  const PixMap* pixels = DevicePixels(GetMainDevice());
  return pixels == nullptr ? nullptr : capture::PictureOfDevice(*pixels, pixels->bounds);
}

// The device with that index in QuickDraw's list, which is independent of the display list.
REALpictureStruct* CaptureDevice(int32_t index) {
  GDHandle device = GetDeviceList();
  for (int32_t step = 0; step < index && device != nullptr; ++step) device = GetNextDevice(device);
  const PixMap* pixels = DevicePixels(device);
  if (pixels == nullptr) return nullptr;
  const Rect& bounds = pixels->bounds;
  return capture::PictureOfDevice(
      *pixels, capture::MakeRect(0, 0, bounds.bottom - bounds.top, bounds.right - bounds.left));
}

}  // namespace

REALpictureStruct* ScreenshotQRV() {
  const CGDirectDisplayID display = CGMainDisplayID();
  REALpictureStruct* picture = nullptr;
  if (CaptureByDisplayImage(display, picture)) return picture;
  picture = GLScreenshotQRV(display);
  return picture != nullptr ? picture : CaptureMainDevice();
}

REALpictureStruct* ScreenshotDisplayQRV(int32_t index) {
  const CGDirectDisplayID display = capture::ActiveDisplay(index);
  REALpictureStruct* picture = nullptr;
  if (CaptureByDisplayImage(display, picture)) return picture;
  picture = GLScreenshotQRV(display);
  return picture != nullptr ? picture : CaptureDevice(index);
}
