// What a Wayland compositor offers: its outputs, as displays, and the objects that capture them.
#ifndef PLATFORM_DESKTOP_WAYLAND_SCREEN_H_
#define PLATFORM_DESKTOP_WAYLAND_SCREEN_H_

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/desktop/display.h"
#include "platform/desktop/wayland/connection.h"
#include "platform/desktop/wayland/placed_output.h"

namespace qrv::desktop::wayland {

// An output as the compositor describes it. Positions and logical sizes are in the units of the
// compositor's space, modes in pixels before the output is turned.
struct Output {
  uint32_t name = 0;  // in the registry: not 0, and a new one whenever an output is added
  uint32_t object = 0;
  uint32_t version = 0;
  uint32_t logicalObject = 0;
  std::string label;  // "HEADLESS-1"
  int32_t x = 0;
  int32_t y = 0;
  Orientation orientation = Orientation::kUpright;
  int32_t modeWidth = 0;
  int32_t modeHeight = 0;
  int32_t scale = 1;
  PixelRect logical;     // from xdg-output; empty without it
  uint32_t changes = 0;  // how often any of this has changed, back to an earlier value included

  bool operator==(const Output&) const = default;
};

// Takes the next argument, a wl_output's transform; rejects any other number.
Orientation TakeOrientation(Arguments& arguments);

// The outputs as displays, main display first: the one at the compositor's origin, or the first
// one. Outputs that are off, or have impossible sizes, are left out.
std::vector<PlacedOutput> PlaceOutputs(const std::vector<std::unique_ptr<Output>>& outputs);

// The global objects that a capture uses, of which a compositor has one each.
enum class Global : size_t { kShm, kXdgOutputManager, kScreencopy, kSourceManager, kCopyManager };
inline constexpr size_t kGlobals = 5;

struct BoundGlobal {
  uint32_t object = 0;  // 0 when the compositor has none
  uint32_t version = 0;
};

class Screen {
 public:
  explicit Screen(Connection& connection) : connection_(connection) {}

  // Asks the compositor for its outputs as they are now.
  void Update();

  const std::vector<std::unique_ptr<Output>>& outputs() const { return outputs_; }
  const BoundGlobal& global(Global which) const { return globals_[static_cast<size_t>(which)]; }

 private:
  void HandleRegistryEvent(uint32_t event, Arguments& arguments);
  void Bind(uint32_t name, Arguments& arguments);
  void BindOutput(uint32_t name, uint32_t version);
  bool RequestLogicalPositions();
  auto FindOutput(uint32_t name) const;
  void RemoveOutput(uint32_t name);

  Connection& connection_;
  uint32_t registry_ = 0;
  std::array<BoundGlobal, kGlobals> globals_;
  std::vector<std::unique_ptr<Output>> outputs_;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SCREEN_H_
