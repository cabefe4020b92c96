#include "platform/desktop/x11/desktop.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/desktop/peer/reconnecting_desktop.h"
#include "platform/desktop/x11/address.h"
#include "platform/desktop/x11/backend.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/pointer.h"
#include "platform/desktop/x11/screen.h"
#include "platform/desktop/x11/windows.h"

namespace qrv::desktop {
namespace x11 {
namespace {

constexpr char kNoPointer[] = "the X server does not give its pointer's image (XFixes)";

class X11Link : public Link {
 public:
  X11Link(const Address& address, std::string peer, Deadline deadline)
      : connection_(address, std::move(peer), deadline), backend_(connection_) {}

  void BeginCall(Deadline deadline) override { connection_.BeginCall(deadline); }
  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer) override;
  std::vector<Window> ListWindows() override {
    return QueryWindows(connection_, monitors_.front().area);
  }
  const char* backend() const override { return backend_.name(); }
  const char* note() const override { return lacksPointer_ ? kNoPointer : backend_.note(); }

 private:
  // In the root window. Empty when there is no such display.
  PixelRect AreaOf(uint32_t displayId) const;

  // Draws the pointer into a frame of that part of the root window.
  void AddPointer(const PixelRect& part, const Frame& frame);

  Connection connection_;
  Backend backend_;
  std::vector<PlacedMonitor> monitors_;  // as last listed
  bool lacksPointer_ = false;            // the last frame, which was to have it
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

void X11Link::AddPointer(const PixelRect& part, const Frame& frame) {
  const std::optional<PointerImage> pointer = QueryPointer(connection_);
  lacksPointer_ = !pointer;
  if (pointer) DrawPointer(*pointer, part, frame);
}

// The server refuses a region outside its screen, which may have shrunk since the list.
Frame X11Link::Capture(const Display& display, const PixelRect& region, Pointer pointer) {
  const PixelRect area = AreaOf(display.id);
  if (Contains(area.width, area.height, region)) {
    try {
      const PixelRect part = {area.x + region.x, area.y + region.y, region.width, region.height};
      Frame frame = backend_.Capture(part);
      lacksPointer_ = false;
      if (pointer == Pointer::kShown) AddPointer(part, frame);
      return frame;
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
    throw Error(Reason::kBadChoice, "'" + displayName +
                                        "' is not the name of an X display, which begins with a "
                                        "colon or a host: x11::0");
  }
  return std::make_unique<ReconnectingDesktop>(
      "X11 " + displayName, [address = *address, displayName](Deadline deadline) {
        return std::make_unique<x11::X11Link>(address, "X server " + displayName, deadline);
      });
}

}  // namespace qrv::desktop
