#include "platform/desktop/wayland/desktop.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "platform/desktop/peer/reconnecting_desktop.h"
#include "platform/desktop/wayland/backends.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/screen.h"
#include "platform/desktop/wayland/sway_windows.h"

namespace qrv::desktop {
namespace wayland {
namespace {

class WaylandLink : public Link {
 public:
  WaylandLink(const std::string& path, std::string peer, bool byPortal, Deadline deadline)
      : connection_(path, std::move(peer), deadline), screen_(connection_), byPortal_(byPortal) {}

  void BeginCall(Deadline deadline) override { connection_.BeginCall(deadline); }
  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer) override;
  std::vector<Window> ListWindows() override {
    const Display& main = outputs_.front().display;
    return QuerySwayWindows(main.offsetX, main.offsetY, connection_.deadline());
  }
  const char* backend() const override { return backend_ ? backend_->name() : ""; }
  const char* note() const override {
    return lacksPointer_ ? "the desktop portal gives pictures without the pointer" : "";
  }

 private:
  // Throws Error when the compositor has reported a change of the output since it was listed.
  void RequireUnchanged(const PlacedOutput& output) const;

  Connection connection_;
  Screen screen_;
  bool byPortal_;
  std::unique_ptr<Backend> backend_;
  std::vector<PlacedOutput> outputs_;  // as last listed, once there is a backend
  bool lacksPointer_ = false;          // the last frame, which was to have it
};

std::vector<Display> WaylandLink::ListDisplays() {
  screen_.Update();
  std::vector<PlacedOutput> outputs = PlaceOutputs(screen_.outputs());
  if (outputs.empty()) throw Error(Reason::kUnsupported, "the Wayland compositor has no display");
  if (!backend_) backend_ = ChooseBackend(connection_, screen_, byPortal_);
  backend_->BeginCapture();
  outputs_ = std::move(outputs);
  std::vector<Display> displays;
  for (const PlacedOutput& each : outputs_) displays.push_back(each.display);
  return displays;
}

const PlacedOutput& Find(const std::vector<PlacedOutput>& outputs, uint32_t displayId) {
  const auto found =
      std::find_if(outputs.begin(), outputs.end(),
                   [displayId](const PlacedOutput& each) { return each.display.id == displayId; });
  if (found == outputs.end()) throw DisplayGone();
  return *found;
}

void WaylandLink::RequireUnchanged(const PlacedOutput& output) const {
  if (Find(PlaceOutputs(screen_.outputs()), output.display.id) == output) return;
  throw DisplayChanged();
}

// A frame may show an output that has changed, or is gone, since it was listed. The compositor
// reports that before it sends the frame, or before it answers the next round trip.
Frame WaylandLink::Capture(const Display& display, const PixelRect& region, Pointer pointer) {
  const PlacedOutput& output = Find(outputs_, display.id);
  try {
    Frame frame = backend_->Capture(output, region, pointer, connection_.deadline());
    lacksPointer_ = pointer == Pointer::kShown && !backend_->hasPointer();
    RequireUnchanged(output);
    return frame;
  } catch (const Error& error) {
    // A person may answer after the deadline.
    if (error.LosesConnection() || Clock::now() >= connection_.deadline()) throw;
    screen_.Update();
    RequireUnchanged(output);
    throw;
  }
}

// Empty when the socket's folder is unknown.
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
  return std::make_unique<WaylandLink>(path, "the Wayland compositor at " + path, byPortal,
                                       deadline);
}

}  // namespace
}  // namespace wayland

std::unique_ptr<Desktop> OpenWaylandDesktop(const std::string& socket, bool byPortal) {
  return std::make_unique<ReconnectingDesktop>(
      (byPortal ? "the portal of Wayland " : "Wayland ") + socket,
      [socket, byPortal](Deadline deadline) {
        return wayland::Connect(socket, byPortal, deadline);
      });
}

}  // namespace qrv::desktop
