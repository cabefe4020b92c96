#include "platform/desktop/x11/screen.h"

#include <xcb/randr.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

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

constexpr uint32_t kNoRequest = 0;

// 0 when the name is known, or there is none.
unsigned RequestName(Connection& connection, Display& display,
                     const std::vector<PlacedDisplay>& known) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const PlacedDisplay& each) {
    return each.display.id == display.id;
  });
  if (found != known.end()) {
    std::copy(std::begin(found->display.name), std::end(found->display.name), display.name);
    return kNoRequest;
  }
  if (display.id == kWholeRootId) return kNoRequest;
  return xcb_get_atom_name(connection.get(), display.id).sequence;
}

// A monitor without a name is a display all the same.
void NameDisplays(Connection& connection, std::vector<PlacedDisplay>& displays,
                  const std::vector<PlacedDisplay>& known) {
  std::vector<unsigned> requests;
  requests.reserve(displays.size());
  for (PlacedDisplay& each : displays) {
    requests.push_back(RequestName(connection, each.display, known));
  }
  for (size_t i = 0; i < displays.size(); ++i) {
    if (requests[i] == kNoRequest) continue;
    const auto reply = connection.AwaitLong<xcb_get_atom_name_reply_t>(requests[i]);
    if (!reply) continue;
    std::snprintf(displays[i].display.name, sizeof displays[i].display.name, "%.*s",
                  xcb_get_atom_name_name_length(reply.get()), xcb_get_atom_name_name(reply.get()));
  }
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

std::vector<PlacedDisplay> QueryDisplays(Connection& connection,
                                         const std::vector<PlacedDisplay>& known) {
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
  std::vector<PlacedDisplay> displays =
      PlaceDisplays(monitors ? MonitorsOf(monitors.get()) : std::vector<Monitor>(), geometry->width,
                    geometry->height, connection.format().pixels);
  NameDisplays(connection, displays, known);
  return connection.isLost() ? std::vector<PlacedDisplay>() : displays;
}

}  // namespace qrv::desktop
