#include "platform/desktop/x11/screen.h"

#include <xcb/randr.h>

#include <algorithm>

namespace qrv::desktop {
namespace {

PixelRect CutToRoot(const PixelRect& area, int32_t rootWidth, int32_t rootHeight) {
  PixelRect cut;
  cut.x = std::clamp(area.x, 0, rootWidth);
  cut.y = std::clamp(area.y, 0, rootHeight);
  cut.width = std::clamp(area.x + area.width, 0, rootWidth) - cut.x;
  cut.height = std::clamp(area.y + area.height, 0, rootHeight) - cut.y;
  return cut;
}

std::vector<Monitor> MonitorsOf(const xcb_randr_get_monitors_reply_t* reply) {
  std::vector<Monitor> monitors;
  for (auto each = xcb_randr_get_monitors_monitors_iterator(reply); each.rem > 0;
       xcb_randr_monitor_info_next(&each)) {
    const xcb_randr_monitor_info_t& info = *each.data;
    monitors.push_back({info.name, info.primary != 0, {info.x, info.y, info.width, info.height}});
  }
  return monitors;
}

}  // namespace

std::vector<PlacedDisplay> PlaceDisplays(const std::vector<Monitor>& monitors, int32_t rootWidth,
                                         int32_t rootHeight, const PixelFormat& format) {
  std::vector<Monitor> visible;
  for (Monitor monitor : monitors) {
    monitor.area = CutToRoot(monitor.area, rootWidth, rootHeight);
    if (monitor.area.width > 0 && monitor.area.height > 0) visible.push_back(monitor);
  }
  if (visible.empty()) visible.push_back({kWholeRootId, true, {0, 0, rootWidth, rootHeight}});
  std::stable_partition(visible.begin(), visible.end(),
                        [](const Monitor& monitor) { return monitor.isPrimary; });

  const PixelRect main = visible.front().area;
  std::vector<PlacedDisplay> displays;
  for (const Monitor& monitor : visible) {
    const PixelRect& area = monitor.area;
    Display display;
    display.id = monitor.name;
    display.bounds = {area.x - main.x, area.y - main.y, area.width, area.height};
    display.offsetX = main.x;
    display.offsetY = main.y;
    display.pixelWidth = area.width;
    display.pixelHeight = area.height;
    SetDepth(BitsPerPixel(format), display);
    displays.push_back({display, area});
  }
  return displays;
}

std::vector<PlacedDisplay> QueryDisplays(Connection& connection) {
  xcb_connection_t* const xcb = connection.get();
  const xcb_window_t root = connection.screen().root;
  Reply<xcb_randr_get_monitors_reply_t> monitors;
  Reply<xcb_get_geometry_reply_t> geometry;
  if (connection.hasMonitors()) {
    const auto monitorsCookie = xcb_randr_get_monitors(xcb, root, 1);
    const auto geometryCookie = xcb_get_geometry(xcb, root);
    monitors = connection.AwaitLong<xcb_randr_get_monitors_reply_t>(monitorsCookie.sequence);
    geometry = connection.AwaitShort<xcb_get_geometry_reply_t>(geometryCookie.sequence);
  } else {
    geometry =
        connection.AwaitShort<xcb_get_geometry_reply_t>(xcb_get_geometry(xcb, root).sequence);
  }
  if (!geometry || (connection.hasMonitors() && !monitors)) return {};
  return PlaceDisplays(monitors ? MonitorsOf(monitors.get()) : std::vector<Monitor>(),
                       geometry->width, geometry->height, connection.format().pixels);
}

}  // namespace qrv::desktop
