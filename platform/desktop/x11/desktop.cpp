#include "platform/desktop/x11/desktop.h"

#include <algorithm>
#include <vector>

#include "platform/desktop/peer/reconnecting_desktop.h"
#include "platform/desktop/x11/address.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/pixels.h"
#include "platform/desktop/x11/screen.h"
#include "platform/desktop/x11/windows.h"

namespace qrv::desktop {
namespace x11 {
namespace {

class X11Link : public Link {
 public:
  X11Link(const std::string& displayName, Deadline deadline)
      : connection_(displayName, deadline), pixels_(connection_) {}

  void BeginCall(Deadline deadline) override { connection_.BeginCall(deadline); }
  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region) override;
  std::vector<Window> ListWindows() override {
    return QueryWindows(connection_, displays_.front().area);
  }
  const char* Backend() const override { return connection_.shm() != 0 ? "MIT-SHM" : "GetImage"; }
  const char* Note() const override { return pixels_.note(); }

 private:
  // Of the root window. Empty when there is no such display.
  PixelRect AreaOf(uint32_t displayId) const;

  Connection connection_;
  PixelFetcher pixels_;
  std::vector<PlacedDisplay> displays_;  // as last listed
};

std::vector<Display> X11Link::ListDisplays() {
  displays_ = QueryDisplays(connection_, displays_);
  std::vector<Display> displays;
  for (const PlacedDisplay& each : displays_) displays.push_back(each.display);
  return displays;
}

PixelRect X11Link::AreaOf(uint32_t displayId) const {
  const auto found =
      std::find_if(displays_.begin(), displays_.end(),
                   [displayId](const PlacedDisplay& each) { return each.display.id == displayId; });
  return found == displays_.end() ? PixelRect{} : found->area;
}

// A server refuses what lies outside of its screen, which may have shrunk since the list.
Frame X11Link::Capture(const Display& display, const PixelRect& region) {
  const PixelRect area = AreaOf(display.id);
  if (Contains(area.width, area.height, region)) {
    try {
      return pixels_.Fetch({area.x + region.x, area.y + region.y, region.width, region.height});
    } catch (const Error& error) {
      if (error.reason() != Reason::kRefused) throw;
      displays_ = QueryDisplays(connection_, displays_);
      if (AreaOf(display.id) == area) throw;
    }
  }
  if (area.width == 0 || AreaOf(display.id).width == 0) throw DisplayGone();
  throw DisplayChanged();
}

}  // namespace
}  // namespace x11

bool IsX11DisplayName(const std::string& text) { return x11::ParseDisplayName(text).has_value(); }

std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName) {
  return std::make_unique<ReconnectingDesktop>(
      "X11 " + displayName, [displayName](Deadline deadline) {
        return std::make_unique<x11::X11Link>(displayName, deadline);
      });
}

}  // namespace qrv::desktop
