#include "platform/desktop/x11/screen_format.h"

#include <algorithm>
#include <bit>

namespace qrv::desktop {
namespace {

constexpr uint32_t kMaxSample = 0xFFF;
constexpr uint32_t kMaxMapIndex = 0xFF;

const xcb_visualtype_t* FindVisual(const xcb_screen_t& screen) {
  for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem > 0;
       xcb_depth_next(&depth)) {
    for (auto visual = xcb_depth_visuals_iterator(depth.data); visual.rem > 0;
         xcb_visualtype_next(&visual)) {
      if (visual.data->visual_id == screen.root_visual) return visual.data;
    }
  }
  return nullptr;
}

const xcb_format_t* FindImageFormat(const xcb_setup_t* setup, uint8_t depth) {
  const xcb_format_t* const formats = xcb_setup_pixmap_formats(setup);
  const xcb_format_t* const end = formats + xcb_setup_pixmap_formats_length(setup);
  const xcb_format_t* const found =
      std::find_if(formats, end, [depth](const xcb_format_t& each) { return each.depth == depth; });
  return found == end ? nullptr : found;
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

}  // namespace

bool FindScreenFormat(const xcb_setup_t* setup, const xcb_screen_t& screen, ScreenFormat& format) {
  const xcb_visualtype_t* const visual = FindVisual(screen);
  const xcb_format_t* const image = FindImageFormat(setup, screen.root_depth);
  if (visual == nullptr || image == nullptr || image->bits_per_pixel % 8 != 0 ||
      image->bits_per_pixel < 8 || image->bits_per_pixel > 32) {
    return false;
  }
  PixelFormat& pixels = format.pixels;
  pixels.bytesPerPixel = image->bits_per_pixel / 8;
  pixels.rowAlignment = std::max<size_t>(image->scanline_pad / 8, 1);
  pixels.bigEndian = setup->image_byte_order == XCB_IMAGE_ORDER_MSB_FIRST;
  if (visual->_class != XCB_VISUAL_CLASS_TRUE_COLOR) pixels.mapColors = visual->colormap_entries;
  format.colormap = screen.default_colormap;
  return SetChannels(*visual, screen.root_depth, pixels);
}

}  // namespace qrv::desktop
