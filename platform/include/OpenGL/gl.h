// The part of OpenGL that reads a frame buffer back. Every call acts on the thread's current
// context and does nothing without one.
//
// Frame buffers are addressed from their bottom-left corner, y growing upward.
#ifndef OPENGL_GL_H_
#define OPENGL_GL_H_

#include <stdint.h>

#include <QRV/Symbol.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t GLenum;
typedef int32_t GLint;
typedef int32_t GLsizei;
typedef void GLvoid;

enum {
  GL_FRONT = 0x0404,
  GL_VIEWPORT = 0x0BA2,
  GL_PACK_ROW_LENGTH = 0x0D02,
  GL_PACK_SKIP_ROWS = 0x0D03,
  GL_PACK_SKIP_PIXELS = 0x0D04,
  GL_PACK_ALIGNMENT = 0x0D05,
  GL_BGRA = 0x80E1,
  GL_UNSIGNED_INT_8_8_8_8_REV = 0x8367
};

__attribute__((weak)) void glFinish(void) QRV_SYMBOL("glFinish");
// GL_VIEWPORT: x, y, width, height in pixels.
__attribute__((weak)) void glGetIntegerv(GLenum name, GLint* values) QRV_SYMBOL("glGetIntegerv");
__attribute__((weak)) void glPixelStorei(GLenum name, GLint value) QRV_SYMBOL("glPixelStorei");
__attribute__((weak)) void glReadBuffer(GLenum mode) QRV_SYMBOL("glReadBuffer");
// Stores the rectangle's pixels, bottom row first, by the pack parameters. GL_BGRA with
// GL_UNSIGNED_INT_8_8_8_8_REV: bytes blue, green, red, alpha. What lies outside the frame buffer
// is left as it was in `pixels`.
__attribute__((weak)) void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height,
                                        GLenum format, GLenum type, GLvoid* pixels)
    QRV_SYMBOL("glReadPixels");

#ifdef __cplusplus
}
#endif

#endif  // OPENGL_GL_H_
