// The pixels of a root window: fetched through shared memory, or in pieces over the connection.
#ifndef PLATFORM_DESKTOP_X11_PIXELS_H_
#define PLATFORM_DESKTOP_X11_PIXELS_H_

#include <memory>

#include "platform/desktop/color_converter.h"
#include "platform/desktop/desktop.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/segments.h"

namespace qrv::desktop {

class PixelFetcher {
 public:
  explicit PixelFetcher(Connection& connection);

  // A part of the root window, in its pixels. Empty when the part is not wholly inside, the
  // connection is lost, or there is no memory. Where the server's pixels are as a frame's, the
  // frame points into the shared memory.
  Frame Fetch(const PixelRect& part);

  // Why the last fetch gave no frame of a connection that is not lost.
  const char* problem() const { return problem_; }
  // Why the last fetch did without shared memory that the server offers; empty when it didn't.
  const char* note() const { return note_; }

 private:
  Frame FetchShared(const PixelRect& part, const std::shared_ptr<Segment>& segment);
  Frame FetchInStrips(const PixelRect& part);
  Frame MakeFrame(const PixelRect& part);
  bool FetchStrip(const PixelRect& strip, const Frame& frame, int32_t firstRow);
  unsigned RequestColors();
  bool TakeColors(unsigned sequence);
  void CopyRows(const uint8_t* from, int32_t rows, const Frame& frame, int32_t firstRow) const;

  Connection& connection_;
  bool isFrameFormat_;
  ColorConverter converter_;
  X11Segments segments_;
  const char* problem_ = "";
  char note_[160] = "";
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_PIXELS_H_
