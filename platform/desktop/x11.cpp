#include "platform/desktop/x11.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "platform/desktop/pixel_buffer.h"
#include "platform/desktop/x11_connection.h"
#include "platform/desktop/x11_geometry.h"
#include "platform/desktop/x11_pixels.h"
#include "platform/desktop/x11_signals.h"

namespace qrv::desktop {
namespace {

// A program's capture makes several calls. The first one that meets a hung server waits kPatience;
// those that follow within kSuspicion of a call that timed out give it only kShortPatience to
// greet, so that all of them together stay within a few seconds. A server that runs again greets in
// that time, and then has kPatience as ever.
constexpr std::chrono::milliseconds kSuspicion{1000};
constexpr std::chrono::milliseconds kShortPatience{150};

// A connection with what is known of its server.
struct Link {
  explicit Link(std::unique_ptr<Connection> opened)
      : connection(std::move(opened)), pixels(*connection) {}

  std::unique_ptr<Connection> connection;
  PixelFetcher pixels;
  std::vector<PlacedDisplay> displays;  // as last listed; empty when they are to be listed anew
};

class X11Desktop : public Desktop {
 public:
  explicit X11Desktop(const std::string& displayName)
      : displayName_(displayName), name_("X11 " + displayName) {}

  bool ListDisplays(std::vector<Display>& displays) override;
  Frame Capture(const Display& display, const PixelRect& part) override;
  const char* Name() const override { return name_.c_str(); }
  const char* Problem() const override { return problem_.c_str(); }

 private:
  template <typename Operation>
  bool Call(Operation operation);
  bool Connect();
  void Disconnect(const char* what, bool timedOut);
  bool List(Link& link);
  Frame CaptureFrom(Link& link, uint32_t id, const PixelRect& part);

  std::string displayName_;
  std::string name_;
  std::string problem_;
  std::unique_ptr<Link> link_;
  std::optional<Clock::time_point> lastTimeout_;  // none since the last call that succeeded
};

bool X11Desktop::ListDisplays(std::vector<Display>& displays) {
  return Call([&](Link& link) {
    if (!List(link)) return false;
    displays.clear();
    for (const PlacedDisplay& each : link.displays) displays.push_back(each.display);
    return true;
  });
}

Frame X11Desktop::Capture(const Display& display, const PixelRect& part) {
  Frame frame;
  Call([&](Link& link) {
    if (!link.displays.empty() || List(link)) frame = CaptureFrom(link, display.id, part);
    return static_cast<bool>(frame);
  });
  return frame;
}

// Runs an operation on a live connection. A connection that is lost meanwhile is closed, and the
// next call opens another; so is one that an exception left in the middle of its replies.
template <typename Operation>
bool X11Desktop::Call(Operation operation) {
  const SigpipeGuard noSigpipe;
  problem_.clear();
  try {
    if (!Connect()) return false;
    const bool isDone = operation(*link_);
    if (link_->connection->isLost()) {
      const bool timedOut = link_->connection->timedOut();
      Disconnect(timedOut ? " does not answer" : " closed the connection", timedOut);
      return false;
    }
    lastTimeout_.reset();
    return isDone;
  } catch (...) {
    link_.reset();
    problem_ = "out of memory";
    return false;
  }
}

bool X11Desktop::Connect() {
  if (link_ && link_->connection->isInherited()) link_.reset();
  if (link_) {
    link_->connection->BeginWaiting();
    if (!link_->connection->isLost()) return true;
    link_.reset();
  }
  const Clock::time_point now = Clock::now();
  const bool isSuspect = lastTimeout_ && now - *lastTimeout_ < kSuspicion;
  bool timedOut = false;
  auto connection = Connection::Open(displayName_, now + (isSuspect ? kShortPatience : kPatience),
                                     problem_, timedOut);
  if (timedOut) lastTimeout_ = Clock::now();
  if (!connection) return false;
  link_ = std::make_unique<Link>(std::move(connection));
  return true;
}

void X11Desktop::Disconnect(const char* what, bool timedOut) {
  link_.reset();
  if (timedOut) lastTimeout_ = Clock::now();
  problem_ = "X server " + displayName_ + what;
}

bool X11Desktop::List(Link& link) {
  link.displays = QueryDisplays(*link.connection);
  return !link.displays.empty();
}

Frame X11Desktop::CaptureFrom(Link& link, uint32_t id, const PixelRect& part) {
  const auto found =
      std::find_if(link.displays.begin(), link.displays.end(),
                   [id](const PlacedDisplay& each) { return each.display.id == id; });
  Frame frame;
  if (found != link.displays.end() && Contains(found->area.width, found->area.height, part)) {
    frame = link.pixels.Fetch(
        {found->area.x + part.x, found->area.y + part.y, part.width, part.height});
  }
  if (!frame) {
    problem_ = "the display is gone or has changed";
    link.displays.clear();
  }
  return frame;
}

}  // namespace

std::unique_ptr<Desktop> OpenX11Desktop(const std::string& displayName) {
  return std::make_unique<X11Desktop>(displayName);
}

}  // namespace qrv::desktop
