#include "platform/desktop/x11/backend.h"

#include <xcb/shm.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

namespace qrv::desktop::x11 {
namespace {

constexpr uint32_t kAllPlanes = ~0U;
constexpr char kCaptureRefused[] = "the X server refuses the capture";
// The most that one reply holds, unless a single row is longer.
constexpr size_t kStripBytes = size_t{512} << 10;

}  // namespace

Backend::Backend(Connection& connection)
    : connection_(connection),
      isFrameFormat_(IsFrameFormat(format())),
      converter_(format()),
      segments_(connection) {}

Frame Backend::Capture(const PixelRect& region) {
  note_.clear();
  if (connection_.shm() != 0) {
    if (const auto segment = AcquireSegment(region)) return CaptureShared(region, segment);
  }
  return CaptureInStrips(region);
}

std::shared_ptr<Segment> Backend::AcquireSegment(const PixelRect& region) {
  try {
    return segments_.Acquire(uint64_t{RowBytes(region)} * static_cast<uint32_t>(region.height));
  } catch (const Error& error) {
    if (error.LosesConnection()) throw;
    note_ = error.what();
    note_ += ", so the pixels come over the connection, which is slower";
    return nullptr;
  }
}

Frame Backend::CaptureShared(const PixelRect& region, const std::shared_ptr<Segment>& segment) {
  const Connection::Sequence colors = RequestColors();
  const Connection::Sequence image = connection_.Send(
      connection_.shm(), XCB_SHM_GET_IMAGE,
      {connection_.screen().root, Pair(region.x, region.y), Pair(region.width, region.height),
       kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, segment->id, /* offset */ 0});
  ReceiveColors(colors);
  connection_.Await(image, kCaptureRefused);
  if (isFrameFormat_) {
    return {segment, segment->memory(), region.width, region.height, RowBytes(region)};
  }
  Frame frame = NewFrame(region.width, region.height);
  CopyRows(segment->memory(), region.height, frame, 0);
  return frame;
}

Frame Backend::CaptureInStrips(const PixelRect& region) {
  Frame frame = NewFrame(region.width, region.height);
  ReceiveColors(RequestColors());
  const auto rows = static_cast<int32_t>(std::max<size_t>(kStripBytes / RowBytes(region), 1));
  for (int32_t done = 0; done < region.height; done += rows) {
    const PixelRect strip = {region.x, region.y + done, region.width,
                             std::min(rows, region.height - done)};
    CaptureStrip(strip, frame, done);
  }
  return frame;
}

void Backend::CaptureStrip(const PixelRect& strip, const Frame& frame, int32_t firstRow) {
  const Connection::Sequence request =
      connection_.Send(XCB_GET_IMAGE, XCB_IMAGE_FORMAT_Z_PIXMAP,
                       {connection_.screen().root, Pair(strip.x, strip.y),
                        Pair(strip.width, strip.height), kAllPlanes});
  Reply image = connection_.Await(request, kCaptureRefused);
  image.Take<xcb_get_image_reply_t>();
  const size_t bytes = RowBytes(strip) * static_cast<size_t>(strip.height);
  CopyRows(image.TakeBytes(bytes).data(), strip.height, frame, firstRow);
}

// Requests the colour map, which may change between captures. 0 when the format has none.
Connection::Sequence Backend::RequestColors() {
  const std::vector<uint32_t>& pixels = converter_.mapPixels();
  if (pixels.empty()) return 0;
  return connection_.Send(XCB_QUERY_COLORS, 0, {connection_.screen().colormap},
                          std::as_bytes(std::span(pixels)));
}

void Backend::ReceiveColors(Connection::Sequence request) {
  const size_t count = converter_.mapPixels().size();
  if (count == 0) return;
  Reply colors = connection_.Await(request, kCaptureRefused);
  colors.Take<xcb_query_colors_reply_t>();
  for (size_t i = 0; i < count; ++i) {
    const auto color = colors.Take<xcb_rgb_t>();
    converter_.SetColor(i, color.red, color.green, color.blue);
  }
}

void Backend::CopyRows(const uint8_t* from, int32_t rows, const Frame& frame,
                       int32_t firstRow) const {
  const size_t fromRowBytes = ImageRowBytes(format(), frame.width);
  for (int32_t y = 0; y < rows; ++y, from += fromRowBytes) {
    uint32_t* const to = FrameRow(frame, firstRow + y);
    if (isFrameFormat_) {
      std::memcpy(to, from, frame.rowBytes);
    } else {
      converter_.ConvertRow(from, to, frame.width);
    }
  }
}

}  // namespace qrv::desktop::x11
