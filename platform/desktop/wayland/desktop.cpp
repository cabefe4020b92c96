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
namespace {

using namespace wayland;

class WaylandLink : public Link {
 public:
  WaylandLink(std::unique_ptr<Connection> connection, bool byPortal)
      : connection_(std::move(connection)), screen_(*connection_), byPortal_(byPortal) {}

  void BeginCall(Deadline deadline) override { connection_->BeginCall(deadline); }
  const char* Note() const override {
    return isPointerLacking_ ? "the desktop portal gives pictures without the pointer" : "";
  }
  const char* Backend() const override { return backend_ ? backend_->Name() : ""; }

  std::vector<Display> ListDisplays() override;
  Frame Capture(const Display& display, const PixelRect& region, Pointer pointer) override;
  std::vector<Window> ListWindows() override {
    const Display& main = outputs_.front().display;
    return QuerySwayWindows(main.offsetX, main.offsetY, connection_->deadline());
  }

 private:
  // Throws Error unless the output is as it was listed, as far as the compositor has said.
  void ExpectUnchanged(const PlacedOutput& output) const;

  std::unique_ptr<Connection> connection_;
  Screen screen_;
  bool byPortal_;
  std::vector<PlacedOutput> outputs_;  // as last listed, once there is a backend
  std::unique_ptr<wayland::Backend> backend_;
  bool isPointerLacking_ = false;  // from the last capture
};

std::vector<Display> WaylandLink::ListDisplays() {
  screen_.Update();
  std::vector<PlacedOutput> outputs = PlaceOutputs(screen_.outputs());
  if (outputs.empty()) throw Error(Reason::kUnsupported, "the Wayland compositor has no display");
  if (!backend_) backend_ = ChooseBackend(*connection_, screen_, byPortal_);
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

void WaylandLink::ExpectUnchanged(const PlacedOutput& output) const {
  if (Find(PlaceOutputs(screen_.outputs()), output.display.id) == output) return;
  throw DisplayChanged();
}

// A frame may be of an output that turned, or went, after it was listed. The compositor says so
// before it sends the frame, or before it answers.
Frame WaylandLink::Capture(const Display& display, const PixelRect& region, Pointer pointer) {
  const PlacedOutput& output = Find(outputs_, display.id);
  try {
    Frame frame = backend_->Capture(output, region, pointer, connection_->deadline());
    isPointerLacking_ = pointer == Pointer::kShown && !backend_->HasPointer();
    ExpectUnchanged(output);
    return frame;
  } catch (const Error& error) {
    // A person's answer may come when the call's time is over.
    const bool isOver = Clock::now() >= connection_->deadline();
    if (isOver || error.reason() == Reason::kUnreachable || error.reason() == Reason::kTimeout) {
      throw;
    }
    screen_.Update();
    ExpectUnchanged(output);
    throw;
  }
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
