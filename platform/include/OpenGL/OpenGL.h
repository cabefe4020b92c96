// CGL: contexts of the OpenGL framework that are attached to a whole display.
//
// The framework is linked weakly: a caller on a system without it sees null addresses.
#ifndef OPENGL_OPENGL_H_
#define OPENGL_OPENGL_H_

#include <OpenGL/gl.h>

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

// Chooses a pixel format by a list of attributes that ends with 0. On success `*pixelFormat` is a
// new object and `*count` is 1; otherwise they are null and 0.
__attribute__((weak)) CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes,
                                                    CGLPixelFormatObj* pixelFormat, GLint* count);
__attribute__((weak)) CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pixelFormat);
// A new context in `*context`, or an error and null there.
__attribute__((weak)) CGLError CGLCreateContext(CGLPixelFormatObj pixelFormat, CGLContextObj share,
                                                CGLContextObj* context);
// Destroys the context; if it is the thread's current one, the thread has none afterwards.
__attribute__((weak)) CGLError CGLDestroyContext(CGLContextObj context);
__attribute__((weak)) CGLError CGLSetCurrentContext(CGLContextObj context);
// Attaches the context to the whole display of its pixel format; the viewport becomes the
// display's size in pixels.
__attribute__((weak)) CGLError CGLSetFullScreen(CGLContextObj context);

#ifdef __cplusplus
}
#endif

#endif  // OPENGL_OPENGL_H_
