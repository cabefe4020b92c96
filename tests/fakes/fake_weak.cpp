// The functions that the plug-in links weakly. Compiled once with all of them, and once for each
// one that a system may lack: then QRV_LACKS_<name> is defined and the function is not.

#include <OpenGL/OpenGL.h>

#include <algorithm>

#include "tests/fakes/fake_frameworks.h"
#include "tests/fakes/stage.h"

using namespace qrv::fakes;

struct _CGLPixelFormatObject {
  size_t display;
};
struct _CGLContextObject {
  size_t display;
};

namespace {

_CGLContextObject* currentContext = nullptr;

[[maybe_unused]] const FakeDisplay* Find(CGDirectDisplayID id) {
  for (const FakeDisplay& display : TheStage().displays) {
    if (display.id == id) return &display;
  }
  return nullptr;
}

// The display's image of a rectangle in its units, with one pixel of the screen per pixel.
[[maybe_unused]] CGImageRef CreateImage(const FakeDisplay& display, int x, int y, int width,
                                        int height) {
  const int scale = display.scale;
  CGImage* image = MakeImage(static_cast<size_t>(width) * static_cast<size_t>(scale),
                             static_cast<size_t>(height) * static_cast<size_t>(scale),
                             kCGImageAlphaNoneSkipFirst);
  uint8_t* pixel = image->rgba.data();
  for (int row = 0; row < height * scale; ++row) {
    for (int column = 0; column < width * scale; ++column, pixel += 4) {
      const uint32_t colour =
          ScreenColour(display.x + x + column / scale, display.y + y + row / scale);
      const uint8_t rgba[4] = {static_cast<uint8_t>(colour >> 16),
                               static_cast<uint8_t>(colour >> 8), static_cast<uint8_t>(colour),
                               255};
      std::copy_n(rgba, 4, pixel);
    }
  }
  Created(image, "image");
  return image;
}

}  // namespace

extern "C" {

#ifndef QRV_LACKS_CGDisplayCreateImage
CGImageRef CGDisplayCreateImage(CGDirectDisplayID id) {
  Record("CGDisplayCreateImage " + Join(id));
  const FakeDisplay* display = Find(id);
  if (display == nullptr || Refused("CGDisplayCreateImage")) return nullptr;
  return CreateImage(*display, 0, 0, display->width, display->height);
}
#endif

#ifndef QRV_LACKS_CGDisplayCreateImageForRect
CGImageRef CGDisplayCreateImageForRect(CGDirectDisplayID id, CGRect rect) {
  const int x = static_cast<int>(rect.origin.x);
  const int y = static_cast<int>(rect.origin.y);
  const int width = static_cast<int>(rect.size.width);
  const int height = static_cast<int>(rect.size.height);
  Record("CGDisplayCreateImageForRect " + Join(id, x, y, width, height));
  const FakeDisplay* display = Find(id);
  if (display == nullptr || Refused("CGDisplayCreateImageForRect")) return nullptr;
  return CreateImage(*display, x, y, width, height);
}
#endif

#ifndef QRV_LACKS_CGLChoosePixelFormat
CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes,
                              CGLPixelFormatObj* pixelFormat, GLint* count) {
  Record("CGLChoosePixelFormat " +
         Join(attributes[0], attributes[1], attributes[2], attributes[3]));
  if (attributes[2] == 0 || Refused("CGLChoosePixelFormat")) return kCGLBadPixelFormat;
  size_t display = 0;
  while ((attributes[2] >> display & 1) == 0) ++display;
  *pixelFormat = new _CGLPixelFormatObject{display};
  *count = 1;
  Created(*pixelFormat, "pixel format");
  return kCGLNoError;
}
#endif

#ifndef QRV_LACKS_CGLDestroyPixelFormat
CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pixelFormat) {
  Record("CGLDestroyPixelFormat");
  Released(pixelFormat, "pixel format");
  delete pixelFormat;
  return kCGLNoError;
}
#endif

#ifndef QRV_LACKS_CGLCreateContext
CGLError CGLCreateContext(CGLPixelFormatObj pixelFormat, CGLContextObj, CGLContextObj* context) {
  Record("CGLCreateContext");
  if (pixelFormat == nullptr || Refused("CGLCreateContext")) return kCGLBadContext;
  *context = new _CGLContextObject{pixelFormat->display};
  Created(*context, "GL context");
  return kCGLNoError;
}
#endif

#ifndef QRV_LACKS_CGLDestroyContext
CGLError CGLDestroyContext(CGLContextObj context) {
  Record("CGLDestroyContext");
  Released(context, "GL context");
  if (currentContext == context) currentContext = nullptr;
  delete context;
  return kCGLNoError;
}
#endif

#ifndef QRV_LACKS_CGLSetCurrentContext
CGLError CGLSetCurrentContext(CGLContextObj context) {
  Record("CGLSetCurrentContext");
  currentContext = context;
  return kCGLNoError;
}
#endif

#ifndef QRV_LACKS_CGLSetFullScreen
CGLError CGLSetFullScreen(CGLContextObj) {
  Record("CGLSetFullScreen");
  return kCGLNoError;
}
#endif

#ifndef QRV_LACKS_glFinish
void glFinish(void) { Record("glFinish"); }
#endif

#ifndef QRV_LACKS_glReadBuffer
void glReadBuffer(GLenum mode) { Record("glReadBuffer " + Join(mode)); }
#endif

#ifndef QRV_LACKS_glPixelStorei
void glPixelStorei(GLenum name, GLint value) { Record("glPixelStorei " + Join(name, value)); }
#endif

#ifndef QRV_LACKS_glGetIntegerv
void glGetIntegerv(GLenum name, GLint* values) {
  Record("glGetIntegerv " + Join(name));
  if (Refused("glGetIntegerv")) return;
  const FakeDisplay& display = TheStage().displays[currentContext->display];
  values[2] = display.width;
  values[3] = display.height;
}
#endif

#ifndef QRV_LACKS_glReadPixels
// The alpha byte holds a value of the frame buffer's own.
void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                  GLvoid* pixels) {
  Record("glReadPixels " + Join(x, y, width, height, format, type));
  const FakeDisplay& display = TheStage().displays[currentContext->display];
  auto* bytes = static_cast<uint8_t*>(pixels);
  for (int row = 0; row < height; ++row) {
    for (int column = 0; column < width; ++column, bytes += 4) {
      const uint32_t colour =
          ScreenColour(display.x + x + column, display.y + display.height - 1 - (y + row));
      const uint8_t bgra[4] = {static_cast<uint8_t>(colour), static_cast<uint8_t>(colour >> 8),
                               static_cast<uint8_t>(colour >> 16), 0x5A};
      std::copy_n(bgra, 4, bytes);
    }
  }
}
#endif

}  // extern "C"
