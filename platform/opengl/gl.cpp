// Reading the frame buffer back. The frame buffer of an attached context is the display's held
// pixels, or else the display as it is at the moment of the read, so there is nothing to finish,
// and the front buffer is all there is.
//
// A read can't fail as far as its callers look. So the pixels are held before: a viewport is one of
// pixels that are held, or empty.
#include <OpenGL/gl.h>

#include <algorithm>
#include <cstring>

#include <QRV/Desktop.h>
#include "platform/opengl/context.h"
#include "platform/page_fetcher.h"
#include "platform/pixels/prefetch.h"

using qrv::desktop::Display;
using qrv::desktop::Frame;
using qrv::opengl::CurrentContext;

namespace {

constexpr size_t kPixelBytes = 4;

// What is asked for and lies within the frame buffer, in its coordinates: from the bottom-left
// corner, y growing upward; right and top exclusive.
struct Area {
  int64_t left;
  int64_t bottom;
  int64_t right;
  int64_t top;
};

Area ClipToDisplay(GLint x, GLint y, GLsizei width, GLsizei height, const Display& display) {
  return {std::max<int64_t>(x, 0), std::max<int64_t>(y, 0),
          std::min<int64_t>(int64_t{x} + width, display.pixelWidth),
          std::min<int64_t>(int64_t{y} + height, display.pixelHeight)};
}

Frame CaptureArea(const Display& display, const Area& area) {
  const qrv::desktop::PixelRect part = {
      static_cast<int32_t>(area.left), static_cast<int32_t>(display.pixelHeight - area.top),
      static_cast<int32_t>(area.right - area.left), static_cast<int32_t>(area.top - area.bottom)};
  return qrv::desktop::Capture(display, part, qrv::desktop::Strategy::kOpenGL);
}

size_t BytesBetweenRows(const _CGLContextObject& context, GLsizei width) {
  const auto pixels =
      static_cast<size_t>(context.packRowLength > 0 ? context.packRowLength : width);
  const auto alignment = static_cast<size_t>(context.packAlignment);
  return (pixels * kPixelBytes + alignment - 1) / alignment * alignment;
}

// Stores the frame bottom row first. `first` is where its bottom-left pixel goes.
void StoreRowsReversed(const Frame& frame, uint8_t* first, size_t bytesBetweenRows) {
  const auto height = static_cast<size_t>(frame.height);
  const size_t rowBytes = static_cast<size_t>(frame.width) * kPixelBytes;
  qrv::PageFetcher pages(first, (height - 1) * bytesBetweenRows + rowBytes);
  for (size_t row = 0; row < height; ++row) {
    uint8_t* const target = first + row * bytesBetweenRows;
    pages.Reach(target + rowBytes);
    const uint8_t* const source = frame.pixels + (height - 1 - row) * frame.rowBytes;
    qrv::pixels::PrefetchRowAhead(source, -static_cast<ptrdiff_t>(frame.rowBytes), rowBytes);
    memcpy(target, source, rowBytes);
  }
}

}  // namespace

void glFinish() {}

// A context without a back buffer reads its front buffer from the start; any other choice is an
// error, which changes nothing.
void glReadBuffer(GLenum) {}

void glGetIntegerv(GLenum name, GLint* values) {
  const CGLContextObj context = CurrentContext();
  if (context == nullptr || values == nullptr || name != GL_VIEWPORT) return;
  const auto display = qrv::desktop::FindDisplay(context->display);
  if (context->isAttached && display && !qrv::desktop::HoldPixels(*display)) {
    std::fill_n(values, 4, 0);
    return;
  }
  std::copy_n(context->viewport, 4, values);
}

void glPixelStorei(GLenum name, GLint value) {
  const CGLContextObj context = CurrentContext();
  if (context == nullptr || value < 0) return;
  switch (name) {
    case GL_PACK_ALIGNMENT:
      if (value == 1 || value == 2 || value == 4 || value == 8) context->packAlignment = value;
      break;
    case GL_PACK_ROW_LENGTH:
      context->packRowLength = value;
      break;
    case GL_PACK_SKIP_ROWS:
      context->packSkipRows = value;
      break;
    case GL_PACK_SKIP_PIXELS:
      context->packSkipPixels = value;
      break;
    default:
      break;
  }
}

void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                  GLvoid* pixels) {
  const CGLContextObj context = CurrentContext();
  if (context == nullptr || !context->isAttached || pixels == nullptr) return;
  if (format != GL_BGRA || type != GL_UNSIGNED_INT_8_8_8_8_REV) return;
  if (width <= 0 || height <= 0) return;
  const auto display = qrv::desktop::FindDisplay(context->display);
  if (!display) return;
  const Area area = ClipToDisplay(x, y, width, height, *display);
  if (area.left >= area.right || area.bottom >= area.top) return;

  const Frame frame = CaptureArea(*display, area);
  if (!frame) return;
  const size_t bytesBetweenRows = BytesBetweenRows(*context, width);
  const auto column = static_cast<size_t>(context->packSkipPixels + (area.left - x));
  const auto row = static_cast<size_t>(context->packSkipRows + (area.bottom - y));
  uint8_t* const first =
      static_cast<uint8_t*>(pixels) + row * bytesBetweenRows + column * kPixelBytes;
  StoreRowsReversed(frame, first, bytesBetweenRows);
}
