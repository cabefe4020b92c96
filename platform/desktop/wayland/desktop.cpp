#include "platform/desktop/wayland/desktop.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "platform/desktop/reconnecting_desktop.h"
#include "platform/desktop/wayland/backend.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/screen.h"

namespace qrv::desktop {
namespace {

using namespace wayland;

class WaylandLink : public Link {
 public:
  WaylandLink(std::unique_ptr<Connection> connection, bool byPortal)
      : connection_(std::move(connection)), screen_(*connection_), byPortal_(byPortal) {}

  void BeginCall(Deadline deadline) override { connection_->BeginCall(deadline); }
  const char* Backend() const override { return backend_ ? backend_->Name() : ""; }

  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region) override;

 private:
  // The output as it was listed, and whether it still is like that as far as the compositor has
  // said.
  const PlacedOutput* Find(uint32_t displayId) const;
  bool IsUnchanged(const PlacedOutput& output) const;

  std::unique_ptr<Connection> connection_;
  Screen screen_;
  bool byPortal_;
  std::vector<PlacedOutput> outputs_;          // as last listed
  std::unique_ptr<wayland::Backend> backend_;  // once the first display was listed
};

std::vector<Display> WaylandLink::ListDisplays() {
  screen_.Update();
  outputs_ = PlaceOutputs(screen_.outputs());
  if (outputs_.empty()) throw Error(Reason::kUnsupported, "the Wayland compositor has no display");
  if (!backend_) backend_ = ChooseBackend(*connection_, screen_, byPortal_);
  backend_->BeginCapture();
  std::vector<Display> displays;
  for (const PlacedOutput& each : outputs_) displays.push_back(each.display);
  return displays;
}

const PlacedOutput* WaylandLink::Find(uint32_t displayId) const {
  const auto found =
      std::find_if(outputs_.begin(), outputs_.end(),
                   [displayId](const PlacedOutput& each) { return each.display.id == displayId; });
  return found == outputs_.end() ? nullptr : &*found;
}

bool WaylandLink::IsUnchanged(const PlacedOutput& output) const {
  const std::vector<PlacedOutput> now = PlaceOutputs(screen_.outputs());
  return std::find(now.begin(), now.end(), output) != now.end();
}

// A frame may be of an output that turned, or went, after it was listed. The compositor says so
// before it sends the frame, or before it answers.
Frame WaylandLink::Capture(const Display& display, const PixelRect& region) {
  const PlacedOutput* const output = Find(display.id);
  if (output != nullptr && backend_) {
    try {
      Frame frame = backend_->Capture(*output, region, connection_->deadline());
      if (IsUnchanged(*output)) return frame;
    } catch (const Error&) {
      if (Clock::now() >= connection_->deadline()) throw;
      screen_.Update();
      if (IsUnchanged(*output)) throw;
    }
  }
  throw Error(Reason::kDisplayChanged, "the display is gone or has changed");
}

// Empty when a name has no folder to be in.
std::string PathOf(const std::string& socket) {
  if (socket.front() == '/') return socket;
  const char* const folder = secure_getenv("XDG_RUNTIME_DIR");
  return folder == nullptr || folder[0] != '/' ? "" : std::string(folder) + "/" + socket;
}

std::unique_ptr<Link> Connect(const std::string& socket, bool byPortal, Deadline deadline) {
  const std::string path = PathOf(socket);
  if (path.empty()) {
    throw Error(Reason::kUnreachable,
                "XDG_RUNTIME_DIR, where the compositor's socket is, is not set");
  }
  return std::make_unique<WaylandLink>(
      Connection::Open(path, "the Wayland compositor at " + path, deadline), byPortal);
}

}  // namespace

std::unique_ptr<Desktop> OpenWaylandDesktop(const std::string& socket, bool byPortal) {
  return std::make_unique<ReconnectingDesktop>(
      (byPortal ? "the portal of Wayland " : "Wayland ") + socket,
      [socket, byPortal](Deadline deadline) { return Connect(socket, byPortal, deadline); });
}

}  // namespace qrv::desktop
