// CGL: contexts of the OpenGL framework that are attached to a whole display.
//
// The framework is linked weakly: a caller on a system without it sees null addresses.
#ifndef OPENGL_OPENGL_H_
#define OPENGL_OPENGL_H_

#include <OpenGL/gl.h>

#include <QRV/Symbol.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _CGLPixelFormatObject* CGLPixelFormatObj;
typedef struct _CGLContextObject* CGLContextObj;

typedef int32_t CGLError;
enum {
  kCGLNoError = 0,
  kCGLBadAttribute = 10000,
  kCGLBadPixelFormat = 10002,
  kCGLBadContext = 10004,
  kCGLBadDisplay = 10007,
  kCGLBadValue = 10008,
  kCGLBadAlloc = 10016
};

typedef uint32_t CGLPixelFormatAttribute;
enum { kCGLPFAFullScreen = 54, kCGLPFADisplayMask = 84 };

// Chooses a pixel format by a list of attributes that ends with 0. On success `*pixelFormat` is the
// format and `*count` is 1; otherwise they are null and 0.
__attribute__((weak)) CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes,
                                                    CGLPixelFormatObj* pixelFormat, GLint* count)
    QRV_SYMBOL("CGLChoosePixelFormat");
__attribute__((weak)) CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pixelFormat)
    QRV_SYMBOL("CGLDestroyPixelFormat");
// A new context in `*context`, or an error and null there. There is only one at a time.
__attribute__((weak)) CGLError CGLCreateContext(CGLPixelFormatObj pixelFormat, CGLContextObj share,
                                                CGLContextObj* context)
    QRV_SYMBOL("CGLCreateContext");
// Destroys the context; if it is the current one, there is none afterwards.
__attribute__((weak)) CGLError CGLDestroyContext(CGLContextObj context)
    QRV_SYMBOL("CGLDestroyContext");
__attribute__((weak)) CGLError CGLSetCurrentContext(CGLContextObj context)
    QRV_SYMBOL("CGLSetCurrentContext");
// Attaches the context to the whole display of its pixel format; the viewport becomes the
// display's size in pixels.
__attribute__((weak)) CGLError CGLSetFullScreen(CGLContextObj context)
    QRV_SYMBOL("CGLSetFullScreen");

#ifdef __cplusplus
}
#endif

#endif  // OPENGL_OPENGL_H_
