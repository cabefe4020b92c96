// The two backends of X11: pixels of a root window through shared memory (MIT-SHM), or in strips
// over the connection (GetImage).
#ifndef PLATFORM_DESKTOP_X11_BACKEND_H_
#define PLATFORM_DESKTOP_X11_BACKEND_H_

#include <memory>
#include <string>

#include "platform/desktop/frames/color_converter.h"
#include "platform/desktop/frames/frame.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/segments.h"

namespace qrv::desktop::x11 {

class Backend {
 public:
  explicit Backend(Connection& connection);

  // Captures a region of the root window, in its pixels. Where the server's pixel format is a
  // frame's, the frame points into the shared memory. Throws Error, with Reason::kRefused when the
  // region is not wholly inside.
  Frame Capture(const PixelRect& region);

  const char* name() const { return connection_.shm() != 0 ? "MIT-SHM" : "GetImage"; }

  // Why the last capture did not use the shared memory that the server offers; else empty.
  const char* note() const { return note_.c_str(); }

 private:
  const PixelFormat& format() const { return connection_.screen().pixels; }
  size_t RowBytes(const PixelRect& region) const { return ImageRowBytes(format(), region.width); }

  // Null, with a note, when shared memory is unavailable.
  std::shared_ptr<Segment> AcquireSegment(const PixelRect& region);
  Frame CaptureShared(const PixelRect& region, const std::shared_ptr<Segment>& segment);
  Frame CaptureInStrips(const PixelRect& region);
  void CaptureStrip(const PixelRect& strip, const Frame& frame, int32_t firstRow);
  Connection::Sequence RequestColors();
  void ReceiveColors(Connection::Sequence request);
  void CopyRows(const uint8_t* from, int32_t rows, const Frame& frame, int32_t firstRow) const;

  Connection& connection_;
  bool isFrameFormat_;
  ColorConverter converter_;
  X11Segments segments_;
  std::string note_;
};

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_BACKEND_H_
