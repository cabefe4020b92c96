#ifndef PLATFORM_OPENGL_CONTEXT_H_
#define PLATFORM_OPENGL_CONTEXT_H_

#include <OpenGL/OpenGL.h>

struct _CGLPixelFormatObject {
  uint32_t display;  // identifier
};

struct _CGLContextObject {
  uint32_t display;         // identifier
  bool isAttached = false;  // to the display, whose pixels are the frame buffer from then on
  GLint viewport[4] = {};   // x, y, width, height in pixels

  // How glReadPixels stores rows.
  GLint packAlignment = 4;  // in bytes, of each row's start
  GLint packRowLength = 0;  // in pixels; 0 is the width that is read
  GLint packSkipRows = 0;
  GLint packSkipPixels = 0;
};

namespace qrv::opengl {

// The current one, or null.
CGLContextObj CurrentContext() noexcept;

}  // namespace qrv::opengl

#endif  // PLATFORM_OPENGL_CONTEXT_H_
