#include "platform/desktop/wayland/screencopy.h"

#include "platform/desktop/frame.h"
#include "platform/desktop/wayland/protocol.h"
#include "platform/desktop/wayland/segments.h"
#include "platform/desktop/wayland/shared_image.h"

namespace qrv::desktop::wayland {
namespace {

constexpr uint32_t kBufferDoneVersion = 3;

// What a frame object has told.
struct FrameEvents {
  ImageLayout layout;
  bool hasLayout = false;
  bool isLayoutWhole = false;  // no other follows
  bool isInverted = false;
  bool isReady = false;
  bool hasFailed = false;
};

void HandleFrameEvent(FrameEvents& told, uint32_t version, uint32_t event, Arguments& arguments) {
  switch (event) {
    case kScreencopyFrameBuffer: {
      ImageLayout layout;
      layout.format = arguments.TakeUint();
      layout.width = arguments.TakeUint();
      layout.height = arguments.TakeUint();
      layout.stride = arguments.TakeUint();
      if (!told.hasLayout || !IsKnownFormat(told.layout.format)) told.layout = layout;
      told.hasLayout = true;
      told.isLayoutWhole = version < kBufferDoneVersion;
      break;
    }
    case kScreencopyFrameBufferDone:
      told.isLayoutWhole = true;
      break;
    case kScreencopyFrameFlags:
      told.isInverted = (arguments.TakeUint() & kScreencopyIsInverted) != 0;
      break;
    case kScreencopyFrameReady:
      told.isReady = true;
      break;
    case kScreencopyFrameFailed:
      told.hasFailed = true;
      break;
    default:
      break;
  }
}

// The region to ask for, in the output's units, and the pixels that a unit has. Only where units
// have a whole number of pixels is it certain which ones are meant; and of outputs that are turned
// by a quarter, wlroots 0.16 gives another region.
struct Region {
  PixelRect units;
  int32_t density = 1;
  bool isWhole = true;
};

Region RegionOf(const PlacedOutput& output, const PixelRect& part) {
  const Display& display = output.display;
  const int32_t density = display.pixelWidth / output.logical.width;
  const PixelRect all = {0, 0, display.pixelWidth, display.pixelHeight};
  if (part == all || output.orientation != Orientation::kUpright ||
      display.pixelWidth != density * output.logical.width ||
      display.pixelHeight != density * output.logical.height) {
    return {all, 1, true};
  }
  const int32_t x = part.x / density;
  const int32_t y = part.y / density;
  return {{x, y, (part.x + part.width + density - 1) / density - x,
           (part.y + part.height + density - 1) / density - y},
          density,
          false};
}

class Screencopy : public PixelSource {
 public:
  Screencopy(Connection& connection, const BoundGlobal& manager, uint32_t shm)
      : connection_(connection), manager_(manager), segments_(connection, shm) {}

  Frame Capture(const PlacedOutput& output, const PixelRect& part, std::string& problem) override;
  const char* Name() const override { return "wlr-screencopy"; }

 private:
  void Ask(uint32_t frame, const PlacedOutput& output, const Region& region);
  Frame Take(uint32_t frame, FrameEvents& told, Orientation orientation, std::string& problem);

  Connection& connection_;
  BoundGlobal manager_;
  WaylandSegments segments_;
};

Frame Screencopy::Capture(const PlacedOutput& output, const PixelRect& part, std::string& problem) {
  const Region region = RegionOf(output, part);
  FrameEvents told;
  const uint32_t frame = connection_.NewObject(
      [&told, version = manager_.version](uint32_t event, Arguments& arguments) {
        HandleFrameEvent(told, version, event, arguments);
      });
  Ask(frame, output, region);
  const Frame captured = Take(frame, told, output.orientation, problem);
  connection_.Destroy(frame, kScreencopyFrameDestroy);
  if (!captured) return {};
  if (captured.width != region.units.width * region.density ||
      captured.height != region.units.height * region.density) {
    problem = kOutputChanged;
    return {};
  }
  return PartOf(captured, {part.x - region.units.x * region.density,
                           part.y - region.units.y * region.density, part.width, part.height});
}

void Screencopy::Ask(uint32_t frame, const PlacedOutput& output, const Region& region) {
  constexpr uint32_t kNoPointer = 0;
  if (region.isWhole) {
    connection_.Send(manager_.object, kScreencopyCaptureOutput, {frame, kNoPointer, output.object});
    return;
  }
  const PixelRect& units = region.units;
  connection_.Send(manager_.object, kScreencopyCaptureRegion,
                   {frame, kNoPointer, output.object, static_cast<uint32_t>(units.x),
                    static_cast<uint32_t>(units.y), static_cast<uint32_t>(units.width),
                    static_cast<uint32_t>(units.height)});
}

Frame Screencopy::Take(uint32_t frame, FrameEvents& told, Orientation orientation,
                       std::string& problem) {
  problem = kCaptureRefused;
  if (!connection_.Await([&] { return told.isLayoutWhole || told.hasFailed; })) return {};
  if (told.hasFailed) return {};
  const SharedImage image(connection_, segments_, told.layout, problem);
  if (image.buffer() == 0) return {};
  connection_.Send(frame, kScreencopyFrameCopy, {image.buffer()});
  if (!connection_.Await([&] { return told.isReady || told.hasFailed; })) return {};
  if (told.hasFailed) return {};
  problem = kNoMemory;
  return image.ToFrame(orientation, told.isInverted);
}

}  // namespace

std::unique_ptr<PixelSource> OpenScreencopy(Connection& connection, const Screen& screen,
                                            std::string& problem) {
  const BoundGlobal& manager = screen.global(Global::kScreencopy);
  const BoundGlobal& shm = screen.global(Global::kShm);
  if (manager.object == 0 || shm.object == 0) {
    problem = kNotOffered;
    return nullptr;
  }
  return std::make_unique<Screencopy>(connection, manager, shm.object);
}

}  // namespace qrv::desktop::wayland
