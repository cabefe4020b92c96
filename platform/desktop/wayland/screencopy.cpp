#include "platform/desktop/wayland/screencopy.h"

#include <algorithm>
#include <optional>
#include <vector>

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

// A frame under way.
struct Taking {
  bool awaitsLayout() const { return !told.isLayoutWhole && !told.hasFailed; }
  bool awaitsPixels() const { return hasPixels() && !told.isReady && !told.hasFailed; }
  bool hasPixels() const { return image && image->buffer() != 0; }

  Region region;
  uint32_t frame = 0;
  FrameEvents told;
  std::optional<SharedImage> image;
};

class Screencopy : public PixelSource {
 public:
  Screencopy(Connection& connection, const BoundGlobal& manager, uint32_t shm)
      : connection_(connection), manager_(manager), segments_(connection, shm) {}

  void Capture(std::span<OutputShare> shares, std::string& problem) override;
  const char* Name() const override { return "wlr-screencopy"; }

 private:
  void Ask(Taking& taking, const OutputShare& share);
  void AskForPixels(Taking& taking, std::string& problem);
  static Frame Take(const Taking& taking, const OutputShare& share, std::string& problem);

  Connection& connection_;
  BoundGlobal manager_;
  WaylandSegments segments_;
};

void Screencopy::Capture(std::span<OutputShare> shares, std::string& problem) {
  std::vector<Taking> takings(shares.size());  // stay where they are, for their handlers
  problem = kCaptureRefused;
  for (size_t i = 0; i < shares.size(); ++i) Ask(takings[i], shares[i]);
  connection_.Await([&] { return std::ranges::none_of(takings, &Taking::awaitsLayout); });
  for (Taking& each : takings) AskForPixels(each, problem);
  connection_.Await([&] { return std::ranges::none_of(takings, &Taking::awaitsPixels); });
  for (size_t i = 0; i < shares.size(); ++i) {
    shares[i].frame = Take(takings[i], shares[i], problem);
    connection_.Destroy(takings[i].frame, kScreencopyFrameDestroy);
  }
}

void Screencopy::Ask(Taking& taking, const OutputShare& share) {
  constexpr uint32_t kNoPointer = 0;
  const uint32_t output = share.output.object;
  taking.region = RegionOf(share.output, share.part);
  taking.frame = connection_.NewObject(
      [&told = taking.told, version = manager_.version](uint32_t event, Arguments& arguments) {
        HandleFrameEvent(told, version, event, arguments);
      });
  if (taking.region.isWhole) {
    connection_.Send(manager_.object, kScreencopyCaptureOutput, {taking.frame, kNoPointer, output});
    return;
  }
  const PixelRect& units = taking.region.units;
  connection_.Send(manager_.object, kScreencopyCaptureRegion,
                   {taking.frame, kNoPointer, output, static_cast<uint32_t>(units.x),
                    static_cast<uint32_t>(units.y), static_cast<uint32_t>(units.width),
                    static_cast<uint32_t>(units.height)});
}

void Screencopy::AskForPixels(Taking& taking, std::string& problem) {
  if (!taking.told.isLayoutWhole || taking.told.hasFailed) return;
  taking.image.emplace(connection_, segments_, taking.told.layout, problem);
  if (!taking.hasPixels()) return;
  connection_.Send(taking.frame, kScreencopyFrameCopy, {taking.image->buffer()});
}

Frame Screencopy::Take(const Taking& taking, const OutputShare& share, std::string& problem) {
  if (!taking.hasPixels() || !taking.told.isReady) return {};
  const Frame captured = taking.image->ToFrame(share.output.orientation, taking.told.isInverted);
  if (!captured) {
    problem = kNoMemory;
    return {};
  }
  const Region& region = taking.region;
  if (captured.width != region.units.width * region.density ||
      captured.height != region.units.height * region.density) {
    problem = kOutputChanged;
    return {};
  }
  return PartOf(captured, {share.part.x - region.units.x * region.density,
                           share.part.y - region.units.y * region.density, share.part.width,
                           share.part.height});
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
