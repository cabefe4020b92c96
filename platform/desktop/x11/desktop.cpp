#include "platform/desktop/x11/desktop.h"

#include <algorithm>
#include <vector>

#include "platform/desktop/peer/reconnecting_desktop.h"
#include "platform/desktop/x11/address.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/pixels.h"
#include "platform/desktop/x11/pointer.h"
#include "platform/desktop/x11/screen.h"
#include "platform/desktop/x11/windows.h"

namespace qrv::desktop {
namespace x11 {
namespace {

constexpr char kNoPointer[] = "the X server does not tell its pointer's image (XFixes)";

class X11Link : public Link {
 public:
  X11Link(const std::string& displayName, Deadline deadline)
      : connection_(displayName, deadline), pixels_(connection_) {}

  void BeginCall(Deadline deadline) override { connection_.BeginCall(deadline); }
  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer) override;
  std::vector<Window> ListWindows() override {
    return QueryWindows(connection_, displays_.front().area);
  }
  const char* Backend() const override { return connection_.shm() != 0 ? "MIT-SHM" : "GetImage"; }
  const char* Note() const override { return isPointerLacking_ ? kNoPointer : pixels_.note(); }

 private:
  // Of the root window. Empty when there is no such display.
  PixelRect AreaOf(uint32_t displayId) const;

  // Draws it into a frame of that part of the root window.
  void AddPointer(const PixelRect& part, const Frame& frame);

  Connection connection_;
  PixelFetcher pixels_;
  std::vector<PlacedDisplay> displays_;  // as last listed
  bool isPointerLacking_ = false;        // from the last capture
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

void X11Link::AddPointer(const PixelRect& part, const Frame& frame) {
  const std::optional<PointerImage> pointer = QueryPointer(connection_);
  isPointerLacking_ = !pointer;
  if (pointer) DrawPointer(*pointer, part, frame);
}

// A server refuses what lies outside of its screen, which may have shrunk since the list.
Frame X11Link::Capture(const Display& display, const PixelRect& region, Pointer pointer) {
  const PixelRect area = AreaOf(display.id);
  if (Contains(area.width, area.height, region)) {
    try {
      const PixelRect part = {area.x + region.x, area.y + region.y, region.width, region.height};
      Frame frame = pixels_.Fetch(part);
      if (pointer == Pointer::kShown) AddPointer(part, frame);
      return frame;
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
