// Reading a display's front buffer through a full-screen OpenGL context.
#ifndef PLUGIN_CAPTURE_OPENGL_READBACK_H_
#define PLUGIN_CAPTURE_OPENGL_READBACK_H_

#include <ApplicationServices/ApplicationServices.h>
#include <OpenGL/OpenGL.h>
#include <screenshotqrv/host.h>
#include <stdint.h>
#include <stdlib.h>

#include "plugin/picture/owned.h"
#include "plugin/picture/pixel_pass.h"

// True when the display's current mode has at least three samples per pixel of at least 8 bits.
bool Is32bitDisplay(unsigned int display);

// A picture of the display, or nil.
REALpictureStruct* GLScreenshotQRV(unsigned int display);

// The display's pixels as a raw pixel string, or nil. The three numbers are written only when
// pixels have been read.
REALstringStruct* GLScreenshotStringQRV(unsigned int display, int32_t& width, int32_t& height,
                                        int32_t& rowBytes);

namespace capture {

inline void DestroyContext(CGLContextObj context) { CGLDestroyContext(context); }

using OwnedGLContext = picture::Owned<CGLContextObj, DestroyContext>;

// True when the OpenGL framework is available. The functions below may be called only then.
bool HasOpenGL();

// A full-screen context of the display, current on this thread, with its front buffer selected for
// reading; null when there is none. The caller destroys it.
CGLContextObj OpenFullScreenContext(CGDirectDisplayID display);

// A rectangle of a frame buffer, in pixels from its bottom-left corner.
struct FrameBufferArea {
  int32_t x;
  int32_t y;
  int32_t width;
  int32_t height;
};

// Pixels read back: rows from the bottom upward without gaps, 4 bytes per pixel: blue, green, red,
// alpha.
class PixelBuffer {
 public:
  // Reads the area of the current context into new, zeroed memory. False when the size in bytes is
  // not in 1 .. 2^31 - 1, or there is no memory.
  bool Read(const FrameBufferArea& area);

  const char* bytes() const { return static_cast<const char*>(memory_.get()); }
  int32_t size() const { return size_; }
  // The pixels as rows of a picture, top row first.
  picture::SourceRows Rows() const;

 private:
  bool Allocate(int32_t width, int32_t height);

  picture::Owned<void*, free> memory_{nullptr};
  int32_t size_ = 0;
  int32_t width_ = 0;
  int32_t height_ = 0;
};

}  // namespace capture

#endif  // PLUGIN_CAPTURE_OPENGL_READBACK_H_
