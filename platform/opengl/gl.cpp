// Reading the frame buffer back. The display is captured into it when it is first needed, so there
// is nothing to finish, and the front buffer is the only one.
//
// Callers don't check whether a read fails. So the viewport already needs the frame buffer, and is
// empty when the capture fails.
#include <OpenGL/gl.h>

#include <algorithm>
#include <cstring>

#include "platform/desktop/session.h"
#include "platform/memory/prefault.h"
#include "platform/opengl/context.h"
#include "platform/pixels/prefetch.h"

using qrv::desktop::Frame;
using qrv::opengl::CurrentContext;

namespace {

constexpr size_t kPixelBytes = 4;

// A part of the frame buffer, in its coordinates: from the bottom-left corner, y growing upward;
// right and top are exclusive.
struct Area {
  int64_t left;
  int64_t bottom;
  int64_t right;
  int64_t top;
};

Area Clip(GLint x, GLint y, GLsizei width, GLsizei height, const Frame& frameBuffer) {
  return {std::max<int64_t>(x, 0), std::max<int64_t>(y, 0),
          std::min<int64_t>(int64_t{x} + width, frameBuffer.width),
          std::min<int64_t>(int64_t{y} + height, frameBuffer.height)};
}

Frame Crop(const Frame& frameBuffer, const Area& area) {
  return PartOf(
      frameBuffer,
      {static_cast<int32_t>(area.left), static_cast<int32_t>(frameBuffer.height - area.top),
       static_cast<int32_t>(area.right - area.left), static_cast<int32_t>(area.top - area.bottom)});
}

// Stores the frame bottom row first. `first` is the address for its bottom-left pixel.
void StoreRowsReversed(const Frame& frame, uint8_t* first, size_t bytesBetweenRows) {
  const auto height = static_cast<size_t>(frame.height);
  const size_t rowBytes = static_cast<size_t>(frame.width) * kPixelBytes;
  qrv::Prefaulter pages(first, (height - 1) * bytesBetweenRows + rowBytes);
  for (size_t row = 0; row < height; ++row) {
    uint8_t* const target = first + row * bytesBetweenRows;
    pages.PrefaultUpTo(target + rowBytes);
    const uint8_t* const source = frame.pixels + (height - 1 - row) * frame.rowBytes;
    qrv::pixels::PrefetchRowAhead(source, -static_cast<ptrdiff_t>(frame.rowBytes), rowBytes);
    memcpy(target, source, rowBytes);
  }
}

}  // namespace

void glFinish() {}

// A context without a back buffer reads its front buffer by default; choosing any other is an error
// that changes nothing.
void glReadBuffer(GLenum) {}

void glGetIntegerv(GLenum name, GLint* values) {
  const CGLContextObj context = CurrentContext();
  if (context == nullptr || values == nullptr || name != GL_VIEWPORT) return;
  std::fill_n(values, 4, 0);
  if (!context->isAttached) return;
  const auto display = qrv::desktop::FindDisplay(context->display);
  const Frame frameBuffer = display ? qrv::desktop::FrameBuffer(*display) : Frame{};
  values[2] = frameBuffer.width;
  values[3] = frameBuffer.height;
}

// Supports only the packing that callers use: rows of 4-byte pixels without gaps.
void glPixelStorei(GLenum name, GLint value) {
  if (value == (name == GL_PACK_ALIGNMENT ? 4 : 0)) return;
  qrv::desktop::FailCapture(qrv::desktop::Reason::kUnsupported,
                            "pixels can only be packed without gaps");
}

void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                  GLvoid* pixels) {
  const CGLContextObj context = CurrentContext();
  if (context == nullptr || !context->isAttached || pixels == nullptr) return;
  if (format != GL_BGRA || type != GL_UNSIGNED_INT_8_8_8_8_REV) return;
  if (width <= 0 || height <= 0) return;
  const auto display = qrv::desktop::FindDisplay(context->display);
  const Frame frameBuffer = display ? qrv::desktop::FrameBuffer(*display) : Frame{};
  if (!frameBuffer) return;
  const Area area = Clip(x, y, width, height, frameBuffer);
  if (area.left >= area.right || area.bottom >= area.top) return;
  const size_t bytesBetweenRows = static_cast<size_t>(width) * kPixelBytes;
  const auto column = static_cast<size_t>(area.left - x);
  const auto row = static_cast<size_t>(area.bottom - y);
  StoreRowsReversed(Crop(frameBuffer, area),
                    static_cast<uint8_t*>(pixels) + row * bytesBetweenRows + column * kPixelBytes,
                    bytesBetweenRows);
  qrv::desktop::RecordReadBack();
}
