#include "platform/desktop/wayland/shared_image.h"

#include <algorithm>
#include <iterator>

#include "platform/desktop/error.h"
#include "platform/desktop/frames/color_converter.h"
#include "platform/desktop/frames/pixel_format.h"
#include "platform/desktop/wayland/protocol.h"

namespace qrv::desktop::wayland {
namespace {

constexpr uint32_t Code(const char (&letters)[5]) {
  return static_cast<uint32_t>(letters[0]) | static_cast<uint32_t>(letters[1]) << 8 |
         static_cast<uint32_t>(letters[2]) << 16 | static_cast<uint32_t>(letters[3]) << 24;
}

// A format of wl_shm: 0 or 1, or else four letters. All are little-endian words, and are named by
// their channels from the highest bits down.
struct ShmFormat {
  uint32_t code;
  PixelFormat pixels;
};

constexpr PixelFormat Bytes(size_t bytes, uint32_t red, uint32_t green, uint32_t blue) {
  return {bytes, 1, false, {{{red, 0xFF}, {green, 0xFF}, {blue, 0xFF}}}, 0};
}
constexpr PixelFormat Tens(uint32_t red, uint32_t green, uint32_t blue) {
  return {4, 1, false, {{{red, 0x3FF}, {green, 0x3FF}, {blue, 0x3FF}}}, 0};
}

constexpr ShmFormat kFormats[] = {
    {0, Bytes(4, 16, 8, 0)},  // ARGB8888
    {1, Bytes(4, 16, 8, 0)},  // XRGB8888
    {Code("AB24"), Bytes(4, 0, 8, 16)},
    {Code("XB24"), Bytes(4, 0, 8, 16)},
    {Code("RA24"), Bytes(4, 24, 16, 8)},
    {Code("RX24"), Bytes(4, 24, 16, 8)},
    {Code("BA24"), Bytes(4, 8, 16, 24)},
    {Code("BX24"), Bytes(4, 8, 16, 24)},
    {Code("RG24"), Bytes(3, 16, 8, 0)},
    {Code("BG24"), Bytes(3, 0, 8, 16)},
    {Code("AR30"), Tens(20, 10, 0)},
    {Code("XR30"), Tens(20, 10, 0)},
    {Code("AB30"), Tens(0, 10, 20)},
    {Code("XB30"), Tens(0, 10, 20)},
    {Code("RA30"), Tens(22, 12, 2)},
    {Code("RX30"), Tens(22, 12, 2)},
    {Code("BA30"), Tens(2, 12, 22)},
    {Code("BX30"), Tens(2, 12, 22)},
    {Code("RG16"), {2, 1, false, {{{11, 0x1F}, {5, 0x3F}, {0, 0x1F}}}, 0}},
    {Code("BG16"), {2, 1, false, {{{0, 0x1F}, {5, 0x3F}, {11, 0x1F}}}, 0}},
};

const PixelFormat* FindFormat(uint32_t code) {
  const auto found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                  [code](const ShmFormat& each) { return each.code == code; });
  return found == std::end(kFormats) ? nullptr : &found->pixels;
}

bool IsPossible(const ImageLayout& layout) {
  const PixelFormat* const format = FindFormat(layout.format);
  return format != nullptr && layout.width > 0 && layout.width <= kMaxSide && layout.height > 0 &&
         layout.height <= kMaxSide && layout.stride >= layout.width * format->bytesPerPixel &&
         layout.stride <= size_t{2} * kMaxSide * sizeof(uint32_t);
}

}  // namespace

bool IsKnownFormat(uint32_t format) { return FindFormat(format) != nullptr; }

uint32_t BytesPerPixel(uint32_t format) {
  return static_cast<uint32_t>(FindFormat(format)->bytesPerPixel);
}

SharedImage::SharedImage(Connection& connection, SegmentPool& pool, const ImageLayout& layout,
                         int32_t width, int32_t height)
    : connection_(connection), layout_(layout), width_(width), height_(height) {
  if (!IsPossible(layout)) {
    throw Error(Reason::kUnsupported, "the compositor sends pixels in an unsupported format");
  }
  // A buffer of other sides would be of no use.
  if (std::minmax(layout.width, layout.height) !=
      std::minmax(static_cast<uint32_t>(width), static_cast<uint32_t>(height))) {
    throw DisplayChanged();
  }
  segment_ = pool.Acquire(uint64_t{layout.stride} * layout.height);
  buffer_ = connection.NewObject();
  connection.Send(segment_->id, kPoolCreateBuffer,
                  {buffer_, 0, layout.width, layout.height, layout.stride, layout.format});
}

SharedImage::~SharedImage() { connection_.Destroy(buffer_, kBufferDestroy); }

Frame SharedImage::ToFrame(Orientation orientation, bool isInverted) const {
  const auto width = static_cast<int32_t>(layout_.width);
  const auto height = static_cast<int32_t>(layout_.height);
  const PixelFormat& format = *FindFormat(layout_.format);
  Frame frame = {segment_, segment_->memory(), width, height, layout_.stride};
  if (!IsFrameFormat(format)) {
    frame = NewFrame(width, height);
    const ColorConverter converter(format);
    for (int32_t y = 0; y < height; ++y) {
      converter.ConvertRow(segment_->memory() + static_cast<size_t>(y) * layout_.stride,
                           FrameRow(frame, y), width);
    }
  }
  frame = Upright(frame, orientation, isInverted);
  if (frame.width != width_ || frame.height != height_) throw DisplayChanged();
  return frame;
}

}  // namespace qrv::desktop::wayland
