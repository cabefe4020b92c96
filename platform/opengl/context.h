#ifndef PLATFORM_OPENGL_CONTEXT_H_
#define PLATFORM_OPENGL_CONTEXT_H_

#include <OpenGL/OpenGL.h>

struct _CGLPixelFormatObject {
  uint32_t display;  // identifier
};

struct _CGLContextObject {
  uint32_t display;         // identifier
  bool isAttached = false;  // to the display, whose pixels are the frame buffer then
};

namespace qrv::opengl {

// The current one, or null.
CGLContextObj CurrentContext() noexcept;

}  // namespace qrv::opengl

#endif  // PLATFORM_OPENGL_CONTEXT_H_
