// The pixels of a root window: fetched through shared memory, or in pieces over the connection.
#ifndef PLATFORM_DESKTOP_X11_PIXELS_H_
#define PLATFORM_DESKTOP_X11_PIXELS_H_

#include <memory>
#include <vector>

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

  // Has the server copy a part as it is now, which is fetched later. False when it can't be done.
  bool Begin(const PixelRect& part);

  // Nothing that was begun is fetched any more.
  void GiveUpBegun();

  // Why the last fetch gave no frame of a connection that is not lost.
  const char* problem() const { return problem_; }
  // Why the last fetch did without shared memory that the server offers; empty when it didn't.
  const char* note() const { return note_; }

 private:
  // A part that the server copies into a segment, or has copied.
  struct Begun {
    PixelRect part;
    std::shared_ptr<Segment> segment;
    unsigned sequence;
  };

  // Null, with a note, when there is no segment for it.
  std::shared_ptr<Segment> AcquireSegment(const PixelRect& part);
  unsigned RequestShared(const PixelRect& part, const Segment& segment);
  // `colors` is 0 when none were requested.
  Frame FetchShared(const Begun& begun, unsigned colors);
  std::vector<Begun>::iterator FindBegun(const PixelRect& part);
  void GiveUp(std::vector<Begun>::iterator begun);
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
  std::vector<Begun> begun_;
  const char* problem_ = "";
  char note_[160] = "";
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_X11_PIXELS_H_
