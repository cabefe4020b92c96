#include "platform/desktop/x11/screen_format.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <string>
#include <vector>

namespace qrv::desktop::x11 {
namespace {

constexpr uint32_t kMaxSample = 0xFFF;
constexpr uint32_t kMaxMapIndex = 0xFF;

struct Screen {
  xcb_screen_t record;
  std::optional<xcb_visualtype_t> rootVisual;
};

Screen ReadScreen(Reply& rest) {
  Screen screen = {rest.Take<xcb_screen_t>(), {}};
  for (int depths = screen.record.allowed_depths_len; depths > 0; --depths) {
    for (int visuals = rest.Take<xcb_depth_t>().visuals_len; visuals > 0; --visuals) {
      const auto visual = rest.Take<xcb_visualtype_t>();
      if (visual.visual_id == screen.record.root_visual) screen.rootVisual = visual;
    }
  }
  return screen;
}

bool SetChannel(uint32_t mask, Channel& channel) {
  if (mask == 0) return false;
  channel.shift = static_cast<uint32_t>(std::countr_zero(mask));
  channel.max = mask >> channel.shift;
  return (channel.max & (channel.max + 1)) == 0 && channel.max <= kMaxSample;
}

bool SetChannels(const xcb_visualtype_t& visual, uint8_t depth, PixelFormat& format) {
  const bool isTrueColor = visual._class == XCB_VISUAL_CLASS_TRUE_COLOR;
  if (!isTrueColor && visual._class != XCB_VISUAL_CLASS_DIRECT_COLOR) {
    if (depth > 8) return false;
    format.channels.fill({0, (1U << depth) - 1});
    return true;
  }
  const uint32_t masks[] = {visual.red_mask, visual.green_mask, visual.blue_mask};
  for (size_t i = 0; i < format.channels.size(); ++i) {
    if (!SetChannel(masks[i], format.channels[i])) return false;
    if (!isTrueColor && format.channels[i].max > kMaxMapIndex) return false;
  }
  return true;
}

bool SetPixels(const xcb_visualtype_t& visual, const xcb_format_t& image, PixelFormat& format) {
  if (image.bits_per_pixel % 8 != 0 || image.bits_per_pixel < 8 || image.bits_per_pixel > 32) {
    return false;
  }
  format.bytesPerPixel = image.bits_per_pixel / 8;
  format.rowAlignment = std::max<size_t>(image.scanline_pad / 8, 1);
  if (visual._class != XCB_VISUAL_CLASS_TRUE_COLOR) format.mapColors = visual.colormap_entries;
  return SetChannels(visual, image.depth, format);
}

}  // namespace

// The vendor's name, the formats of images and the screens follow one another.
ScreenFormat ReadScreenFormat(const xcb_setup_t& setup, Reply& rest, int number) {
  rest.TakeBytes((size_t{setup.vendor_len} + 3) / 4 * 4);
  std::vector<xcb_format_t> images(setup.pixmap_formats_len);
  for (xcb_format_t& each : images) each = rest.Take<xcb_format_t>();
  if (number >= setup.roots_len) {
    throw Error(Reason::kUnsupported, "the X server has no screen " + std::to_string(number));
  }
  for (; number > 0; --number) ReadScreen(rest);
  const Screen screen = ReadScreen(rest);

  ScreenFormat format;
  format.root = screen.record.root;
  format.colormap = screen.record.default_colormap;
  format.pixels.bigEndian = setup.image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
  const auto image = std::find_if(images.begin(), images.end(), [&](const xcb_format_t& each) {
    return each.depth == screen.record.root_depth;
  });
  if (image == images.end() || !screen.rootVisual ||
      !SetPixels(*screen.rootVisual, *image, format.pixels)) {
    throw Error(Reason::kUnsupported, "the X server's pixel format is not supported");
  }
  return format;
}

}  // namespace qrv::desktop::x11
