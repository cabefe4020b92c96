#include "platform/desktop/wayland/desktop.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "platform/desktop/frame.h"
#include "platform/desktop/reconnecting_desktop.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/pixels.h"
#include "platform/desktop/wayland/screen.h"

namespace qrv::desktop {
namespace {

using namespace wayland;

class WaylandLink : public Link {
 public:
  WaylandLink(std::unique_ptr<Connection> connection, bool byPortal)
      : connection_(std::move(connection)), screen_(*connection_), byPortal_(byPortal) {}

  // What the compositor offers; false when the connection is lost.
  bool Greet() { return screen_.Update(); }

  void BeginWaiting() override { connection_->BeginWaiting(Clock::now() + kPatience); }
  bool IsLost() const override { return connection_->isLost(); }
  bool TimedOut() const override { return connection_->timedOut(); }
  const char* Complaint() const override { return connection_->complaint().c_str(); }
  const char* Way() const override { return source_ ? source_->Name() : ""; }

  bool ListDisplays(std::vector<Display>& displays, std::string& problem) override;
  bool Expect(std::span<const Share> shares) override;
  Frame Capture(uint32_t displayId, const PixelRect& part, bool& isGone,
                std::string& problem) override;

 private:
  bool List();
  OutputShare TakeShare(const PlacedOutput& output, const PixelRect& part, std::string& problem);
  const PlacedOutput* Find(uint32_t displayId) const;

  std::unique_ptr<Connection> connection_;
  Screen screen_;
  bool byPortal_;
  std::vector<PlacedOutput> outputs_;    // as last listed
  std::unique_ptr<PixelSource> source_;  // once the first display was listed
  std::vector<OutputShare> expected_;    // captured together, when the first of them is asked for
};

bool WaylandLink::List() {
  if (!screen_.Update()) return false;
  outputs_ = PlaceOutputs(screen_.outputs());
  return !outputs_.empty();
}

bool WaylandLink::ListDisplays(std::vector<Display>& displays, std::string& problem) {
  expected_.clear();
  if (!List()) {
    problem = "the Wayland compositor has no display";
    return false;
  }
  if (!source_) source_ = ChoosePixelSource(*connection_, screen_, byPortal_, problem);
  if (!source_) return false;
  displays.clear();
  for (const PlacedOutput& each : outputs_) displays.push_back(each.display);
  return true;
}

const PlacedOutput* WaylandLink::Find(uint32_t displayId) const {
  const auto found =
      std::find_if(outputs_.begin(), outputs_.end(),
                   [displayId](const PlacedOutput& each) { return each.display.id == displayId; });
  return found == outputs_.end() ? nullptr : &*found;
}

bool WaylandLink::Expect(std::span<const Share> shares) {
  expected_.clear();
  for (const Share& each : shares) {
    if (const PlacedOutput* const output = Find(each.display.id)) {
      expected_.push_back({*output, each.part});
    }
  }
  return false;
}

// Frames that were captured together are taken one by one.
OutputShare WaylandLink::TakeShare(const PlacedOutput& output, const PixelRect& part,
                                   std::string& problem) {
  const auto isAsked = [&](const OutputShare& each) {
    return each.output == output && each.part == part;
  };
  auto found = std::find_if(expected_.begin(), expected_.end(), isAsked);
  if (found == expected_.end()) {
    expected_.assign(1, {output, part});
    found = expected_.begin();
  }
  if (!found->frame) source_->Capture(expected_, problem);
  OutputShare taken = std::move(*found);
  expected_.erase(found);
  return taken;
}

Frame WaylandLink::Capture(uint32_t displayId, const PixelRect& part, bool& isGone,
                           std::string& problem) {
  const PlacedOutput* const found = Find(displayId);
  if (found != nullptr && source_) {
    const PlacedOutput output = *found;
    const OutputShare share = TakeShare(output, part, problem);
    if (share.frame) {
      problem.clear();
      return share.frame;
    }
    // An output that goes takes with it what is under way.
    if (!List()) return {};
    const PlacedOutput* const now = Find(displayId);
    if (now != nullptr && *now == output) return {};
  }
  isGone = true;
  problem = "the display is gone or has changed";
  return {};
}

// Empty when a name has no folder to be in.
std::string PathOf(const std::string& socket) {
  if (socket.front() == '/') return socket;
  const char* const folder = secure_getenv("XDG_RUNTIME_DIR");
  return folder == nullptr || folder[0] != '/' ? "" : std::string(folder) + "/" + socket;
}

std::unique_ptr<Link> Connect(const std::string& socket, bool byPortal, Deadline greetBy,
                              std::string& problem, bool& timedOut) {
  const std::string path = PathOf(socket);
  if (path.empty()) {
    problem = "XDG_RUNTIME_DIR, where the compositor's socket is, is not set";
    return nullptr;
  }
  auto connection = Connection::Open(path, greetBy, problem, timedOut);
  if (!connection) return nullptr;
  auto link = std::make_unique<WaylandLink>(std::move(connection), byPortal);
  if (link->Greet()) {
    link->BeginWaiting();
    return link;
  }
  timedOut = link->TimedOut();
  problem = "the Wayland compositor at " + path +
            (timedOut ? " does not answer" : " closed the connection");
  return nullptr;
}

}  // namespace

std::unique_ptr<Desktop> OpenWaylandDesktop(const std::string& socket, bool byPortal) {
  return std::make_unique<ReconnectingDesktop>(
      (byPortal ? "the portal of Wayland " : "Wayland ") + socket, "Wayland compositor " + socket,
      [socket, byPortal](Deadline greetBy, std::string& problem, bool& timedOut) {
        return Connect(socket, byPortal, greetBy, problem, timedOut);
      });
}

}  // namespace qrv::desktop
