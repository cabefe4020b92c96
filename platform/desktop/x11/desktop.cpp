#include "platform/desktop/x11/desktop.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/desktop/peer/reconnecting_desktop.h"
#include "platform/desktop/x11/address.h"
#include "platform/desktop/x11/backend.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/screen.h"

namespace qrv::desktop {
namespace x11 {
namespace {

class X11Link : public Link {
 public:
  X11Link(const Address& address, std::string peer, Deadline deadline)
      : connection_(address, std::move(peer), deadline), backend_(connection_) {}

  void BeginCall(Deadline deadline) override { connection_.BeginCall(deadline); }
  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region) override;
  const char* backend() const override { return backend_.name(); }
  const char* note() const override { return backend_.note(); }

 private:
  // In the root window. Empty when there is no such display.
  PixelRect AreaOf(uint32_t displayId) const;

  Connection connection_;
  Backend backend_;
  std::vector<PlacedMonitor> monitors_;  // as last listed
};

std::vector<Display> X11Link::ListDisplays() {
  monitors_ = QueryMonitors(connection_, monitors_);
  std::vector<Display> displays;
  for (const PlacedMonitor& each : monitors_) displays.push_back(each.display);
  return displays;
}

PixelRect X11Link::AreaOf(uint32_t displayId) const {
  const auto found =
      std::find_if(monitors_.begin(), monitors_.end(),
                   [displayId](const PlacedMonitor& each) { return each.display.id == displayId; });
  return found == monitors_.end() ? PixelRect{} : found->area;
}

// The server refuses a region outside its screen, which may have shrunk since the list.
Frame X11Link::Capture(const Display& display, const PixelRect& region) {
  const PixelRect area = AreaOf(display.id);
  if (Contains(area.width, area.height, region)) {
    try {
      return backend_.Capture({area.x + region.x, area.y + region.y, region.width, region.height});
    } catch (const Error& error) {
      if (error.reason() != Reason::kRefused) throw;
      monitors_ = QueryMonitors(connection_, monitors_);
      if (AreaOf(display.id) == area) throw;
    }
  }
  if (area.width == 0 || AreaOf(display.id).width == 0) throw DisplayGone();
  throw DisplayChanged();
}

}  // namespace
}  // namespace x11

std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName) {
  const std::optional<x11::Address> address = x11::ParseDisplayName(displayName);
  if (!address) {
    throw Error(Reason::kBadChoice, "'" + displayName + "' is not the name of an X display");
  }
  return std::make_unique<ReconnectingDesktop>(
      "X11 " + displayName, [address = *address, displayName](Deadline deadline) {
        return std::make_unique<x11::X11Link>(address, "X server " + displayName, deadline);
      });
}

}  // namespace qrv::desktop
