#include "platform/desktop/wayland/screen.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/desktop/frames/pixel_format.h"
#include "platform/desktop/wayland/protocol.h"
#include "platform/one_line.h"

namespace qrv::desktop::wayland {
namespace {

constexpr std::string_view kOutputInterface = "wl_output";
constexpr uint32_t kOutputVersion = 4;  // the first that has names
constexpr uint32_t kReleasableVersion = 3;
constexpr size_t kMaxOutputs = 256;

struct WantedGlobal {
  std::string_view interface;
  uint32_t version;  // the latest that is supported
};
// By Global.
constexpr WantedGlobal kWanted[kGlobals] = {{"wl_shm", 1},
                                            {"zxdg_output_manager_v1", 3},
                                            {"zwlr_screencopy_manager_v1", 3},
                                            {"ext_output_image_capture_source_manager_v1", 1},
                                            {"ext_image_copy_capture_manager_v1", 1}};

constexpr int32_t kMaxPosition = 1 << 20;

bool IsSide(int32_t side) { return side > 0 && side <= kMaxSide; }
bool IsPosition(int32_t position) { return position >= -kMaxPosition && position <= kMaxPosition; }

// False for an output that shows nothing.
bool PlaceOutput(const Output& output, PlacedOutput& placed) {
  placed.object = output.object;
  placed.changes = output.changes;
  placed.orientation = output.orientation;
  Display& display = placed.display;
  display.id = output.name;
  display.pixelWidth = output.modeWidth;
  display.pixelHeight = output.modeHeight;
  if (SwapsSides(placed.orientation)) std::swap(display.pixelWidth, display.pixelHeight);
  placed.logical = output.logical;
  if (placed.logical.width == 0) {
    const int32_t scale = std::max(output.scale, 1);
    placed.logical = {output.x, output.y, display.pixelWidth / scale, display.pixelHeight / scale};
  }
  SetDepth(32, display);  // compositors keep such pixels, whatever they send to the screen
  CopyText(display.name, output.label);
  return IsSide(display.pixelWidth) && IsSide(display.pixelHeight) &&
         IsSide(placed.logical.width) && IsSide(placed.logical.height) &&
         IsPosition(placed.logical.x) && IsPosition(placed.logical.y);
}

void HandleOutputEvent(Output& output, uint32_t event, Arguments& arguments) {
  switch (event) {
    case kOutputGeometry:
      output.x = arguments.TakeInt();
      output.y = arguments.TakeInt();
      arguments.TakeInt();     // width in millimetres
      arguments.TakeInt();     // height
      arguments.TakeInt();     // subpixel order
      arguments.TakeString();  // make
      arguments.TakeString();  // model
      output.orientation = TakeOrientation(arguments);
      break;
    case kOutputMode: {
      const bool isCurrent = (arguments.TakeUint() & kModeIsCurrent) != 0;
      const int32_t width = arguments.TakeInt();
      const int32_t height = arguments.TakeInt();
      if (!isCurrent) break;
      output.modeWidth = width;
      output.modeHeight = height;
      break;
    }
    case kOutputScale:
      output.scale = arguments.TakeInt();
      break;
    case kOutputName:
      output.label = InOneLine(arguments.TakeString());
      break;
    default:
      break;
  }
}

void HandleLogicalEvent(Output& output, uint32_t event, Arguments& arguments) {
  switch (event) {
    case kXdgOutputPosition:
      output.logical.x = arguments.TakeInt();
      output.logical.y = arguments.TakeInt();
      break;
    case kXdgOutputSize:
      output.logical.width = arguments.TakeInt();
      output.logical.height = arguments.TakeInt();
      break;
    case kXdgOutputName:
      output.label = InOneLine(arguments.TakeString());
      break;
    default:
      break;
  }
}

// Handles events and counts those that change the output.
Connection::Handler Counting(Output& output, void (*handle)(Output&, uint32_t, Arguments&)) {
  return [&output, handle](uint32_t event, Arguments& arguments) {
    const Output before = output;
    handle(output, event, arguments);
    if (!(output == before)) ++output.changes;
  };
}

PixelRect Union(const PixelRect& a, const PixelRect& b) {
  const int32_t x = std::min(a.x, b.x);
  const int32_t y = std::min(a.y, b.y);
  return {x, y, std::max(a.x + a.width, b.x + b.width) - x,
          std::max(a.y + a.height, b.y + b.height) - y};
}

// Sizes in units are rounded, up or down.
void AddDensity(int32_t pixels, int32_t units, Space& space) {
  space.minDensity = std::min(space.minDensity, pixels / (units + 1.0));
  space.maxDensity = std::max(space.maxDensity, pixels / (units - 0.5));
}

Space SpaceOf(const std::vector<PlacedOutput>& outputs) {
  Space space = {outputs.front().logical};
  for (const PlacedOutput& each : outputs) {
    space.units = Union(space.units, each.logical);
    AddDensity(each.display.pixelWidth, each.logical.width, space);
    AddDensity(each.display.pixelHeight, each.logical.height, space);
  }
  return space;
}

}  // namespace

Orientation TakeOrientation(Arguments& arguments) {
  const uint32_t transform = arguments.TakeUint();
  if (transform > static_cast<uint32_t>(Orientation::kMirrored270)) {
    arguments.Reject("an output has an unknown transform");
  }
  return static_cast<Orientation>(transform);
}

std::vector<PlacedOutput> PlaceOutputs(const std::vector<std::unique_ptr<Output>>& outputs) {
  std::vector<PlacedOutput> all;
  for (const auto& output : outputs) {
    PlacedOutput placed;
    if (PlaceOutput(*output, placed)) all.push_back(placed);
  }
  if (all.empty()) return all;
  const auto main = std::find_if(all.begin(), all.end(), [](const PlacedOutput& each) {
    return each.logical.x == 0 && each.logical.y == 0;
  });
  if (main != all.end()) std::rotate(all.begin(), main, main + 1);
  const PixelRect origin = all.front().logical;
  const Space desktop = SpaceOf(all);
  for (PlacedOutput& each : all) {
    each.desktop = desktop;
    each.display.offsetX = origin.x;
    each.display.offsetY = origin.y;
    each.display.bounds = {each.logical.x - origin.x, each.logical.y - origin.y, each.logical.width,
                           each.logical.height};
  }
  return all;
}

void Screen::Update() {
  if (registry_ == 0) {
    registry_ = connection_.NewObject(
        [this](uint32_t event, Arguments& arguments) { HandleRegistryEvent(event, arguments); });
    connection_.Send(1, kDisplayGetRegistry, {registry_});
    connection_.AwaitRoundTrip();
  }
  // Changes arrive within this round trip, and the events of new outputs within the next.
  connection_.AwaitRoundTrip();
  if (RequestLogicalPositions()) connection_.AwaitRoundTrip();
}

auto Screen::FindOutput(uint32_t name) const {
  return std::find_if(outputs_.begin(), outputs_.end(),
                      [name](const auto& each) { return each->name == name; });
}

void Screen::HandleRegistryEvent(uint32_t event, Arguments& arguments) {
  const uint32_t name = arguments.TakeUint();
  if (event == kRegistryGlobal) {
    Bind(name, arguments);
  } else if (event == kRegistryGlobalRemove) {
    RemoveOutput(name);
  }
}

// Rejects an output that can't be listed: without it the desktop would have a hole.
void Screen::Bind(uint32_t name, Arguments& arguments) {
  const std::string interface = arguments.TakeString();
  const uint32_t version = arguments.TakeUint();
  if (interface == kOutputInterface) {
    if (outputs_.size() == kMaxOutputs) return arguments.Reject("there are too many outputs");
    if (name == 0 || FindOutput(name) != outputs_.end()) {
      return arguments.Reject("an output's number is not unique");
    }
    return BindOutput(name, version);
  }
  for (size_t i = 0; i < kGlobals; ++i) {
    if (interface != kWanted[i].interface || globals_[i].object != 0) continue;
    globals_[i] = {connection_.NewObject(), std::min(version, kWanted[i].version)};
    connection_.SendBind(registry_, name, interface, globals_[i].version, globals_[i].object);
  }
}

void Screen::BindOutput(uint32_t name, uint32_t version) {
  auto& output = *outputs_.emplace_back(std::make_unique<Output>());
  output.name = name;
  output.version = std::min(version, kOutputVersion);
  output.object = connection_.NewObject(Counting(output, HandleOutputEvent));
  connection_.SendBind(registry_, name, kOutputInterface, output.version, output.object);
}

// Whether a round trip is needed.
bool Screen::RequestLogicalPositions() {
  const BoundGlobal& manager = global(Global::kXdgOutputManager);
  if (manager.object == 0) return true;  // the events of new outputs have not arrived yet
  bool isRequested = false;
  for (const auto& each : outputs_) {
    if (each->logicalObject != 0) continue;
    each->logicalObject = connection_.NewObject(Counting(*each, HandleLogicalEvent));
    connection_.Send(manager.object, kXdgOutputManagerGet, {each->logicalObject, each->object});
    isRequested = true;
  }
  return isRequested;
}

void Screen::RemoveOutput(uint32_t name) {
  const auto found = FindOutput(name);
  if (found == outputs_.end()) return;
  const Output& output = **found;
  if (output.logicalObject != 0) connection_.Destroy(output.logicalObject, kXdgOutputDestroy);
  if (output.version >= kReleasableVersion) {
    connection_.Destroy(output.object, kOutputRelease);
  } else {
    connection_.Drop(output.object);
  }
  outputs_.erase(found);
}

}  // namespace qrv::desktop::wayland
