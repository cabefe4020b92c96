// The pixels of a root window: fetched through shared memory, or in strips over the connection.
#ifndef PLATFORM_DESKTOP_X11_PIXELS_H_
#define PLATFORM_DESKTOP_X11_PIXELS_H_

#include <memory>
#include <string>

#include "platform/desktop/frames/color_converter.h"
#include "platform/desktop/frames/frame.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/segments.h"

namespace qrv::desktop::x11 {

class PixelFetcher {
 public:
  explicit PixelFetcher(Connection& connection);

  // A region of the root window, in its pixels. Throws Error, with Reason::kRefused when the region
  // is not wholly inside. Where the server's pixels are as a frame's, the frame points into the
  // shared memory.
  Frame Fetch(const PixelRect& region);

  // Why the last fetch did without shared memory that the server offers; empty when it didn't.
  const char* note() const { return note_.c_str(); }

 private:
  const PixelFormat& format() const { return connection_.screen().pixels; }
  size_t RowBytes(const PixelRect& region) const { return ImageRowBytes(format(), region.width); }

  // None, with a note, when there is no shared memory for it.
  std::shared_ptr<Segment> AcquireSegment(const PixelRect& region);
  Frame FetchShared(const PixelRect& region, const std::shared_ptr<Segment>& segment);
  Frame FetchInStrips(const PixelRect& region);
  void FetchStrip(const PixelRect& strip, const Frame& frame, int32_t firstRow);
  Connection::Sequence RequestColors();
  void TakeColors(Connection::Sequence request);
  void CopyRows(const uint8_t* from, int32_t rows, const Frame& frame, int32_t firstRow) const;

  Connection& connection_;
  bool isFrameFormat_;
  ColorConverter converter_;
  X11Segments segments_;
  std::string note_;
};

}  // namespace qrv::desktop::x11

#endif  // PLATFORM_DESKTOP_X11_PIXELS_H_
