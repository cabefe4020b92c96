#include "platform/desktop/x11/desktop.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/desktop/frame.h"
#include "platform/desktop/reconnecting_desktop.h"
#include "platform/desktop/x11/connection.h"
#include "platform/desktop/x11/pixels.h"
#include "platform/desktop/x11/screen.h"

namespace qrv::desktop {
namespace {

class X11Link : public Link {
 public:
  explicit X11Link(std::unique_ptr<Connection> connection)
      : connection_(std::move(connection)), pixels_(*connection_) {}
  ~X11Link() override {
    if (IsInherited()) connection_->LeaveOpen();
  }

  void BeginWaiting() override { connection_->BeginWaiting(); }
  bool IsLost() const override { return connection_->isLost(); }
  bool TimedOut() const override { return connection_->timedOut(); }
  const char* Note() const override { return pixels_.note(); }
  const char* Way() const override { return connection_->hasSegments() ? "MIT-SHM" : "GetImage"; }

  bool ListDisplays(std::vector<Display>& displays, std::string& problem) override {
    if (!List()) {
      problem = "the X server does not list its displays";
      return false;
    }
    displays.clear();
    for (const PlacedDisplay& each : displays_) displays.push_back(each.display);
    return true;
  }

  bool Expect(std::span<const Share> shares) override;
  Frame Capture(uint32_t displayId, const PixelRect& part, bool& isGone,
                std::string& problem) override;

 private:
  bool List() {
    pixels_.GiveUpBegun();
    displays_ = QueryDisplays(*connection_, displays_);
    return !displays_.empty();
  }
  // Of the root window.
  static PixelRect Place(const PixelRect& area, const PixelRect& part) {
    return {area.x + part.x, area.y + part.y, part.width, part.height};
  }
  // Empty when there is no such display.
  PixelRect AreaOf(uint32_t displayId) const;

  std::unique_ptr<Connection> connection_;
  PixelFetcher pixels_;
  std::vector<PlacedDisplay> displays_;  // as last listed
};

PixelRect X11Link::AreaOf(uint32_t displayId) const {
  const auto found =
      std::find_if(displays_.begin(), displays_.end(),
                   [displayId](const PlacedDisplay& each) { return each.display.id == displayId; });
  return found == displays_.end() ? PixelRect{} : found->area;
}

// The segments of more than are kept would be made anew each time.
bool X11Link::Expect(std::span<const Share> shares) {
  if (shares.size() > SegmentPool::kMaxFree) return false;
  return std::all_of(shares.begin(), shares.end(), [this](const Share& each) {
    const PixelRect area = AreaOf(each.display.id);
    return Contains(area.width, area.height, each.part) && pixels_.Begin(Place(area, each.part));
  });
}

Frame X11Link::Capture(uint32_t displayId, const PixelRect& part, bool& isGone,
                       std::string& problem) {
  const PixelRect area = AreaOf(displayId);
  if (Contains(area.width, area.height, part)) {
    Frame frame = pixels_.Fetch(Place(area, part));
    if (frame) return frame;
    problem = pixels_.problem();
    // A server refuses what lies outside of its screen, which may have shrunk since the list.
    if (!List() || AreaOf(displayId) == area) return frame;
  }
  isGone = true;
  problem = "the display is gone or has changed";
  return {};
}

}  // namespace

std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName) {
  return std::make_unique<ReconnectingDesktop>(
      "X11 " + displayName, "X server " + displayName,
      [displayName](Deadline greetBy, std::string& problem, bool& timedOut) {
        auto connection = Connection::Open(displayName, greetBy, problem, timedOut);
        return connection ? std::make_unique<X11Link>(std::move(connection)) : nullptr;
      });
}

}  // namespace qrv::desktop
