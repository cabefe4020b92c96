#include "platform/desktop/wayland/backends.h"

#include "platform/desktop/wayland/protocol.h"
#include "platform/desktop/wayland/segments.h"
#include "platform/desktop/wayland/shared_image.h"

namespace qrv::desktop::wayland {
namespace {

constexpr uint32_t kBufferDoneVersion = 3;

// What a frame object has sent.
struct FrameEvents {
  ImageLayout layout;
  bool hasLayout = false;
  bool isLayoutWhole = false;  // no other follows
  bool isInverted = false;
  bool isCopying = false;  // has been asked to
  bool isReady = false;
  bool hasFailed = false;
};

// Pixels that are ready before they were asked for are not in the buffer.
bool IsInOrder(const FrameEvents& events, uint32_t event) {
  if (events.isReady || events.hasFailed) return false;
  if (event == kScreencopyFrameReady) return events.isCopying;
  const bool isOfLayout = event == kScreencopyFrameBuffer || event == kScreencopyFrameBufferDone;
  return !isOfLayout || !events.isLayoutWhole;
}

void HandleFrameEvent(FrameEvents& events, uint32_t version, uint32_t event, Arguments& arguments) {
  if (!IsInOrder(events, event)) return arguments.Reject(kOutOfOrder);
  switch (event) {
    case kScreencopyFrameBuffer: {
      ImageLayout layout;
      layout.format = arguments.TakeUint();
      layout.width = arguments.TakeUint();
      layout.height = arguments.TakeUint();
      layout.stride = arguments.TakeUint();
      if (!events.hasLayout || !IsKnownFormat(events.layout.format)) events.layout = layout;
      events.hasLayout = true;
      events.isLayoutWhole = version < kBufferDoneVersion;
      break;
    }
    case kScreencopyFrameBufferDone:
      events.isLayoutWhole = true;
      break;
    case kScreencopyFrameFlags:
      events.isInverted = (arguments.TakeUint() & kScreencopyIsInverted) != 0;
      break;
    case kScreencopyFrameReady:
      events.isReady = true;
      break;
    case kScreencopyFrameFailed:
      events.hasFailed = true;
      break;
    default:
      break;
  }
}

// What to ask for, in the output's units, and the pixels per unit. Only where units have a whole
// number of pixels is it certain which ones are meant; and of outputs that are turned by a quarter,
// wlroots 0.16 gives another region.
struct Request {
  PixelRect units;
  int32_t density = 1;
  bool isWhole = true;
};

Request RequestFor(const PlacedOutput& output, const PixelRect& region) {
  const Display& display = output.display;
  const int32_t density = display.pixelWidth / output.logical.width;
  const PixelRect all = AllPixels(display);
  if (region == all || output.orientation != Orientation::kUpright ||
      display.pixelWidth != density * output.logical.width ||
      display.pixelHeight != density * output.logical.height) {
    return {all, 1, true};
  }
  const int32_t x = region.x / density;
  const int32_t y = region.y / density;
  return {{x, y, (region.x + region.width + density - 1) / density - x,
           (region.y + region.height + density - 1) / density - y},
          density,
          false};
}

class Screencopy : public Backend {
 public:
  Screencopy(Connection& connection, const BoundGlobal& manager, uint32_t shm)
      : connection_(connection), manager_(manager), segments_(connection, shm) {}

  Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                Deadline) override;
  const char* Name() const override { return "wlr-screencopy"; }

 private:
  void SendRequest(const Request& request, uint32_t frame, uint32_t output, Pointer pointer);

  Connection& connection_;
  BoundGlobal manager_;
  WaylandSegments segments_;
};

Frame Screencopy::Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                          Deadline) {
  FrameEvents events;
  const ScopedObject frame(connection_, kScreencopyFrameDestroy,
                           [&](uint32_t event, Arguments& arguments) {
                             HandleFrameEvent(events, manager_.version, event, arguments);
                           });
  const auto awaitUnlessFailed = [&](const bool& isDone) {
    connection_.Await([&] { return isDone || events.hasFailed; });
    if (events.hasFailed) throw Error(Reason::kRefused, kCaptureRefused);
  };
  const Request request = RequestFor(output, region);
  SendRequest(request, frame.id(), output.object, pointer);
  awaitUnlessFailed(events.isLayoutWhole);
  const auto& [units, density, isWhole] = request;
  const SharedImage image(connection_, segments_, events.layout, units.width * density,
                          units.height * density);
  events.isCopying = true;
  connection_.Send(frame.id(), kScreencopyFrameCopy, {image.buffer()});
  awaitUnlessFailed(events.isReady);

  const Frame captured = image.ToFrame(output.orientation, events.isInverted);
  return PartOf(captured, {region.x - units.x * density, region.y - units.y * density, region.width,
                           region.height});
}

void Screencopy::SendRequest(const Request& request, uint32_t frame, uint32_t output,
                             Pointer pointer) {
  const uint32_t overlay = pointer == Pointer::kShown ? 1 : 0;
  if (request.isWhole) {
    connection_.Send(manager_.object, kScreencopyCaptureOutput, {frame, overlay, output});
    return;
  }
  const PixelRect& units = request.units;
  connection_.Send(
      manager_.object, kScreencopyCaptureRegion,
      {frame, overlay, output, static_cast<uint32_t>(units.x), static_cast<uint32_t>(units.y),
       static_cast<uint32_t>(units.width), static_cast<uint32_t>(units.height)});
}

}  // namespace

std::unique_ptr<Backend> OpenScreencopy(Connection& connection, const Screen& screen) {
  const BoundGlobal& manager = screen.global(Global::kScreencopy);
  const BoundGlobal& shm = screen.global(Global::kShm);
  if (manager.object == 0 || shm.object == 0) throw Error(Reason::kUnsupported, kNotOffered);
  return std::make_unique<Screencopy>(connection, manager, shm.object);
}

}  // namespace qrv::desktop::wayland
