#include "platform/desktop/x11/screen.h"

#include <xcb/randr.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>

#include "platform/desktop/peer/one_line.h"

namespace qrv::desktop::x11 {
namespace {

PixelRect CutToRoot(const PixelRect& area, int32_t rootWidth, int32_t rootHeight) {
  PixelRect cut;
  cut.x = std::clamp(area.x, 0, rootWidth);
  cut.y = std::clamp(area.y, 0, rootHeight);
  cut.width = std::clamp(area.x + area.width, 0, rootWidth) - cut.x;
  cut.height = std::clamp(area.y + area.height, 0, rootHeight) - cut.y;
  return cut;
}

std::vector<Monitor> TakeMonitors(Reply reply) {
  std::vector<Monitor> monitors;
  for (uint32_t left = reply.Take<xcb_randr_get_monitors_reply_t>().nMonitors; left > 0; --left) {
    const auto info = reply.Take<xcb_randr_monitor_info_t>();
    reply.TakeBytes(size_t{info.nOutput} * sizeof(xcb_randr_output_t));
    monitors.push_back({info.name, info.primary != 0, {info.x, info.y, info.width, info.height}});
  }
  return monitors;
}

// Takes the name over from the displays known before, else requests it. None when there is no name.
std::optional<Connection::Sequence> RequestName(Connection& connection, Display& display,
                                                const std::vector<PlacedDisplay>& known) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const PlacedDisplay& each) {
    return each.display.id == display.id;
  });
  if (found != known.end()) {
    std::copy(std::begin(found->display.name), std::end(found->display.name), display.name);
    return std::nullopt;
  }
  if (display.id == kWholeRootId) return std::nullopt;
  return connection.Send(XCB_GET_ATOM_NAME, 0, {display.id});
}

// A monitor without a name is a display all the same.
void NameDisplays(Connection& connection, std::vector<PlacedDisplay>& displays,
                  const std::vector<PlacedDisplay>& known) {
  std::vector<std::optional<Connection::Sequence>> requests;
  requests.reserve(displays.size());
  for (PlacedDisplay& each : displays) {
    requests.push_back(RequestName(connection, each.display, known));
  }
  for (size_t i = 0; i < displays.size(); ++i) {
    std::optional<Reply> reply;
    if (requests[i]) reply = connection.Await(*requests[i]);
    if (!reply) continue;
    const auto bytes = reply->TakeBytes(reply->Take<xcb_get_atom_name_reply_t>().name_len);
    CopyText(displays[i].display.name, InOneLine(std::string(bytes.begin(), bytes.end())));
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
  const char* const refusal = "the X server does not list its displays";
  const uint32_t root = connection.screen().root;
  const uint8_t randr = connection.randr();
  constexpr uint32_t kActive = 1;
  Connection::Sequence monitorsRequest = 0;
  if (randr != 0) {
    monitorsRequest = connection.Send(randr, XCB_RANDR_GET_MONITORS, {root, kActive});
  }
  const Connection::Sequence rootRequest = connection.Send(XCB_GET_GEOMETRY, 0, {root});
  std::vector<Monitor> monitors;
  if (randr != 0) monitors = TakeMonitors(connection.Await(monitorsRequest, refusal));
  const auto size = connection.Await(rootRequest, refusal).Take<xcb_get_geometry_reply_t>();
  if (size.width == 0 || size.height == 0) throw BrokenProtocol();
  std::vector<PlacedDisplay> displays =
      PlaceDisplays(monitors, size.width, size.height, connection.screen().pixels);
  NameDisplays(connection, displays, known);
  return displays;
}

}  // namespace qrv::desktop::x11
