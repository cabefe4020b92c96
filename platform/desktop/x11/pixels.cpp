#include "platform/desktop/x11/pixels.h"

#include <xcb/shm.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/desktop/frame.h"

namespace qrv::desktop {
namespace {

constexpr uint32_t kAllPlanes = ~0U;
// Bounds what one reply holds, and the rate at which a server must at least deliver.
constexpr size_t kStripBytes = size_t{512} << 10;

}  // namespace

PixelFetcher::PixelFetcher(Connection& connection)
    : connection_(connection),
      isFrameFormat_(IsFrameFormat(connection.format().pixels)),
      converter_(connection.format().pixels),
      segments_(connection) {}

Frame PixelFetcher::Fetch(const PixelRect& part) {
  problem_ = "the X server refuses to give the pixels";
  note_[0] = '\0';
  const auto found = FindBegun(part);
  if (found != begun_.end()) {
    const Begun begun = *found;
    begun_.erase(found);
    return FetchShared(begun, 0);
  }
  if (connection_.hasSegments()) {
    if (const auto segment = AcquireSegment(part)) {
      const unsigned colors = RequestColors();
      return FetchShared({part, segment, RequestShared(part, *segment)}, colors);
    }
  }
  return connection_.isLost() ? Frame{} : FetchInStrips(part);
}

bool PixelFetcher::Begin(const PixelRect& part) {
  if (!connection_.hasSegments() || !isFrameFormat_) return false;
  GiveUp(FindBegun(part));
  const auto segment = AcquireSegment(part);
  if (!segment) return false;
  begun_.push_back({part, segment, RequestShared(part, *segment)});
  xcb_flush(connection_.get());
  return true;
}

void PixelFetcher::GiveUpBegun() {
  while (!begun_.empty()) GiveUp(begun_.begin());
}

// The segment may be another capture's at once: the server does what it is asked in order.
void PixelFetcher::GiveUp(std::vector<Begun>::iterator begun) {
  if (begun == begun_.end()) return;
  xcb_discard_reply(connection_.get(), begun->sequence);
  begun_.erase(begun);
}

std::vector<PixelFetcher::Begun>::iterator PixelFetcher::FindBegun(const PixelRect& part) {
  return std::find_if(begun_.begin(), begun_.end(),
                      [&](const Begun& each) { return each.part == part; });
}

std::shared_ptr<Segment> PixelFetcher::AcquireSegment(const PixelRect& part) {
  const uint64_t bytes = uint64_t{ImageRowBytes(connection_.format().pixels, part.width)} *
                         static_cast<uint32_t>(part.height);
  const char* refusal = "";
  auto segment = segments_.Acquire(bytes, refusal);
  if (!segment) {
    std::snprintf(note_, sizeof note_,
                  "%s, so the pixels come over the connection, which is slower", refusal);
  }
  return segment;
}

unsigned PixelFetcher::RequestShared(const PixelRect& part, const Segment& segment) {
  return xcb_shm_get_image(connection_.get(), connection_.screen().root,
                           static_cast<int16_t>(part.x), static_cast<int16_t>(part.y),
                           static_cast<uint16_t>(part.width), static_cast<uint16_t>(part.height),
                           kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, segment.id(), 0)
      .sequence;
}

Frame PixelFetcher::FetchShared(const Begun& begun, unsigned colors) {
  const bool hasColors = TakeColors(colors);
  const auto image = connection_.AwaitShort<xcb_shm_get_image_reply_t>(begun.sequence);
  if (!image || !hasColors) return {};
  const PixelRect& part = begun.part;
  if (isFrameFormat_) {
    return {begun.segment, begun.segment->memory(), part.width, part.height,
            ImageRowBytes(connection_.format().pixels, part.width)};
  }
  Frame frame = MakeFrame(part);
  if (frame) CopyRows(begun.segment->memory(), part.height, frame, 0);
  return frame;
}

Frame PixelFetcher::MakeFrame(const PixelRect& part) {
  Frame frame = NewFrame(part.width, part.height);
  if (!frame) problem_ = kNoMemory;
  return frame;
}

Frame PixelFetcher::FetchInStrips(const PixelRect& part) {
  Frame frame = MakeFrame(part);
  if (!frame || !TakeColors(RequestColors())) return {};
  const size_t rowsPerStrip =
      std::max<size_t>(kStripBytes / ImageRowBytes(connection_.format().pixels, part.width), 1);
  for (int32_t done = 0; done < part.height;) {
    PixelRect strip = part;
    strip.y += done;
    strip.height =
        static_cast<int32_t>(std::min(rowsPerStrip, static_cast<size_t>(part.height - done)));
    if (!FetchStrip(strip, frame, done)) return {};
    connection_.BeginWaiting();
    done += strip.height;
  }
  return frame;
}

bool PixelFetcher::FetchStrip(const PixelRect& strip, const Frame& frame, int32_t firstRow) {
  const auto cookie = xcb_get_image(
      connection_.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection_.screen().root,
      static_cast<int16_t>(strip.x), static_cast<int16_t>(strip.y),
      static_cast<uint16_t>(strip.width), static_cast<uint16_t>(strip.height), kAllPlanes);
  const auto image = connection_.AwaitLong<xcb_get_image_reply_t>(cookie.sequence);
  const size_t bytes =
      ImageRowBytes(connection_.format().pixels, strip.width) * static_cast<size_t>(strip.height);
  if (!image || size_t{image->length} * 4 < bytes) return false;
  CopyRows(xcb_get_image_data(image.get()), strip.height, frame, firstRow);
  return true;
}

// The colour map is asked for at every capture, for it may change at any time. 0 when the format
// has none.
unsigned PixelFetcher::RequestColors() {
  const std::vector<uint32_t>& pixels = converter_.MapPixels();
  if (pixels.empty()) return 0;
  return xcb_query_colors(connection_.get(), connection_.format().colormap,
                          static_cast<uint32_t>(pixels.size()), pixels.data())
      .sequence;
}

bool PixelFetcher::TakeColors(unsigned sequence) {
  if (sequence == 0) return true;
  const auto reply = connection_.AwaitLong<xcb_query_colors_reply_t>(sequence);
  if (!reply) return false;
  const xcb_rgb_t* const colors = xcb_query_colors_colors(reply.get());
  for (size_t i = 0; i < reply->colors_len; ++i) {
    converter_.SetColor(i, colors[i].red, colors[i].green, colors[i].blue);
  }
  return true;
}

void PixelFetcher::CopyRows(const uint8_t* from, int32_t rows, const Frame& frame,
                            int32_t firstRow) const {
  const size_t fromRowBytes = ImageRowBytes(connection_.format().pixels, frame.width);
  for (int32_t y = 0; y < rows; ++y, from += fromRowBytes) {
    uint32_t* const to = FrameRow(frame, firstRow + y);
    if (isFrameFormat_) {
      std::memcpy(to, from, frame.rowBytes);
    } else {
      converter_.ConvertRow(from, to, frame.width);
    }
  }
}

}  // namespace qrv::desktop
