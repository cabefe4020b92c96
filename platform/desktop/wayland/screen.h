// What a Wayland compositor offers: its outputs, as displays, and the objects to capture them with.
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

// An output as the compositor tells of it. Positions and logical sizes are in the units of the
// compositor's space, modes in pixels before the output is turned.
struct Output {
  uint32_t name = 0;  // the registry's: not 0, another one whenever an output comes
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
  PixelRect logical;     // as xdg-output tells; empty without it
  uint32_t changes = 0;  // of all this, one that was taken back too

  bool operator==(const Output&) const = default;
};

// A wl_output's transform as the next argument; another number is rejected.
Orientation TakeOrientation(Arguments& arguments);

// The displays of outputs, main display first: the one at the compositor's origin, or the first
// one. Outputs that are off, or of sizes that can't be, are none.
std::vector<PlacedOutput> PlaceOutputs(const std::vector<std::unique_ptr<Output>>& outputs);

// What a compositor has one of, that a capture uses.
enum class Global : size_t { kShm, kXdgOutputManager, kScreencopy, kSourceManager, kCopyManager };
inline constexpr size_t kGlobals = 5;

struct BoundGlobal {
  uint32_t object = 0;  // 0 when the compositor hasn't got it
  uint32_t version = 0;
};

class Screen {
 public:
  explicit Screen(Connection& connection) : connection_(connection) {}

  // Asks for the outputs.
  void Update();

  const std::vector<std::unique_ptr<Output>>& outputs() const { return outputs_; }
  const BoundGlobal& global(Global which) const { return globals_[static_cast<size_t>(which)]; }

 private:
  void HandleRegistryEvent(uint32_t event, Arguments& arguments);
  void Bind(uint32_t name, Arguments& arguments);
  void BindOutput(uint32_t name, uint32_t version);
  bool AskForLogicalPlaces();
  auto FindOutput(uint32_t name) const;
  void RemoveOutput(uint32_t name);

  Connection& connection_;
  uint32_t registry_ = 0;
  std::array<BoundGlobal, kGlobals> globals_;
  std::vector<std::unique_ptr<Output>> outputs_;
};

}  // namespace qrv::desktop::wayland

#endif  // PLATFORM_DESKTOP_WAYLAND_SCREEN_H_
