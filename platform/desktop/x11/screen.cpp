#include "platform/desktop/x11/screen.h"

#include <xcb/randr.h>

#include <algorithm>
#include <iterator>
#include <optional>

#include "platform/one_line.h"

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

std::vector<Monitor> ReadMonitors(Reply reply) {
  std::vector<Monitor> monitors;
  for (uint32_t left = reply.Take<xcb_randr_get_monitors_reply_t>().nMonitors; left > 0; --left) {
    const auto info = reply.Take<xcb_randr_monitor_info_t>();
    reply.TakeBytes(size_t{info.nOutput} * sizeof(xcb_randr_output_t));
    monitors.push_back({info.name, info.primary != 0, {info.x, info.y, info.width, info.height}});
  }
  return monitors;
}

// Copies the name from the known monitor, else requests it. Nothing when no reply will come.
std::optional<Connection::Sequence> RequestName(Connection& connection, Display& display,
                                                const std::vector<PlacedMonitor>& known) {
  const auto found = std::find_if(known.begin(), known.end(), [&](const PlacedMonitor& each) {
    return each.display.id == display.id;
  });
  if (found != known.end()) {
    std::copy(std::begin(found->display.name), std::end(found->display.name), display.name);
    return std::nullopt;
  }
  if (display.id == kWholeRootId) return std::nullopt;
  return connection.Send(XCB_GET_ATOM_NAME, 0, {display.id});
}

// A monitor whose name is unavailable is a display too.
void NameMonitors(Connection& connection, std::vector<PlacedMonitor>& placed,
                  const std::vector<PlacedMonitor>& known) {
  std::vector<std::optional<Connection::Sequence>> requests;
  requests.reserve(placed.size());
  for (PlacedMonitor& each : placed) {
    requests.push_back(RequestName(connection, each.display, known));
  }
  for (size_t i = 0; i < placed.size(); ++i) {
    std::optional<Reply> reply;
    if (requests[i]) reply = connection.Await(*requests[i]);
    if (!reply) continue;
    const size_t length = reply->Take<xcb_get_atom_name_reply_t>().name_len;
    CopyText(placed[i].display.name, InOneLine(reply->TakeText(length)));
  }
}

}  // namespace

std::vector<PlacedMonitor> PlaceMonitors(const std::vector<Monitor>& monitors, int32_t rootWidth,
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
  std::vector<PlacedMonitor> placed;
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
    placed.push_back({display, area});
  }
  return placed;
}

std::vector<PlacedMonitor> QueryMonitors(Connection& connection,
                                         const std::vector<PlacedMonitor>& known) {
  const char* const error = "the X server does not list its displays";
  const uint32_t root = connection.screen().root;
  const uint8_t randr = connection.randr();
  constexpr uint32_t kActive = 1;
  Connection::Sequence monitorsRequest = 0;
  if (randr != 0) {
    monitorsRequest = connection.Send(randr, XCB_RANDR_GET_MONITORS, {root, kActive});
  }
  const Connection::Sequence rootRequest = connection.Send(XCB_GET_GEOMETRY, 0, {root});
  std::vector<Monitor> monitors;
  if (randr != 0) monitors = ReadMonitors(connection.Await(monitorsRequest, error));
  const auto size = connection.Await(rootRequest, error).Take<xcb_get_geometry_reply_t>();
  if (size.width == 0 || size.height == 0) throw ProtocolError();
  std::vector<PlacedMonitor> placed =
      PlaceMonitors(monitors, size.width, size.height, connection.screen().pixels);
  NameMonitors(connection, placed, known);
  return placed;
}

}  // namespace qrv::desktop::x11
