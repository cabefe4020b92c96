#include "platform/desktop/wayland/backends.h"

#include "platform/desktop/wayland/protocol.h"
#include "platform/desktop/wayland/segments.h"
#include "platform/desktop/wayland/shared_image.h"

namespace qrv::desktop::wayland {
namespace {

// What an output's size or format may change while a frame of it is under way.
constexpr int kTries = 3;

// What a session has sent of the images that it gives.
struct Constraints {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t format = 0;
  bool hasFormat = false;
  bool isWhole = false;  // all of them have come
  bool isUsed = false;   // a frame was asked for with them
  bool isStopped = false;
};

void HandleSessionEvent(Constraints& sent, uint32_t event, Arguments& arguments) {
  if (sent.isWhole && event <= kCopySessionDone) sent = {};  // new ones
  switch (event) {
    case kCopySessionSize:
      sent.width = arguments.TakeUint();
      sent.height = arguments.TakeUint();
      break;
    case kCopySessionFormat: {
      // The smallest numbers are those of a frame's own format.
      const uint32_t format = arguments.TakeUint();
      if (!IsKnownFormat(format) || (sent.hasFormat && sent.format <= format)) break;
      sent.format = format;
      sent.hasFormat = true;
      break;
    }
    case kCopySessionDone:
      sent.isWhole = true;
      break;
    case kCopySessionStopped:
      sent.isStopped = true;
      break;
    default:
      break;
  }
}

ImageLayout LayoutOf(const Constraints& constraints) {
  ImageLayout layout;
  layout.width = constraints.width;
  layout.height = constraints.height;
  layout.format = constraints.hasFormat ? constraints.format : ~0U;
  if (constraints.hasFormat) {
    layout.stride = (constraints.width * BytesPerPixel(constraints.format) + 3) / 4 * 4;
  }
  return layout;
}

// What a frame object has sent.
struct FrameEvents {
  Orientation orientation = Orientation::kUpright;
  bool isReady = false;
  bool hasFailed = false;
  bool failedByConstraints = false;
};

void HandleFrameEvent(FrameEvents& events, uint32_t event, Arguments& arguments) {
  if (events.isReady || events.hasFailed) return arguments.Reject(kOutOfOrder);
  switch (event) {
    case kCopyFrameTransform:
      events.orientation = TakeOrientation(arguments);
      break;
    case kCopyFrameReady:
      events.isReady = true;
      break;
    case kCopyFrameFailed:
      events.hasFailed = true;
      events.failedByConstraints = arguments.TakeUint() == kFailedByConstraints;
      break;
    default:
      break;
  }
}

class ImageCopy : public Backend {
 public:
  ImageCopy(Connection& connection, uint32_t sources, uint32_t manager, uint32_t shm)
      : connection_(connection), sources_(sources), manager_(manager), segments_(connection, shm) {}

  Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                Deadline) override;
  const char* Name() const override { return "ext-image-copy-capture"; }

 private:
  Frame TryToCapture(const Display& display, uint32_t session, Constraints& sent);

  Connection& connection_;
  uint32_t sources_;
  uint32_t manager_;
  WaylandSegments segments_;
};

// A session of its own for each capture: the first frame of a session comes at once, those that
// follow wait for something to change.
Frame ImageCopy::Capture(const PlacedOutput& output, const PixelRect& region, Pointer pointer,
                         Deadline) {
  const ScopedObject source(connection_, kSourceDestroy);
  connection_.Send(sources_, kSourceManagerCreate, {source.id(), output.object});
  Constraints sent;
  const ScopedObject session(connection_, kCopySessionDestroy,
                             [&sent](uint32_t event, Arguments& arguments) {
                               HandleSessionEvent(sent, event, arguments);
                             });
  connection_.Send(manager_, kCopyManagerCreateSession,
                   {session.id(), source.id(), pointer == Pointer::kShown ? kPaintCursors : 0});
  for (int tries = 0; tries < kTries; ++tries) {
    const Frame whole = TryToCapture(output.display, session.id(), sent);
    if (whole) return PartOf(whole, region);
  }
  throw Error(Reason::kRefused, kCaptureRefused);
}

// Empty when the constraints have changed meanwhile.
Frame ImageCopy::TryToCapture(const Display& display, uint32_t session, Constraints& sent) {
  connection_.Await([&] { return sent.isWhole || sent.isStopped; });
  if (sent.isStopped) throw Error(Reason::kRefused, kCaptureRefused);
  const ImageLayout layout = LayoutOf(sent);
  sent.isUsed = true;
  const SharedImage image(connection_, segments_, layout, display.pixelWidth, display.pixelHeight);
  FrameEvents events;
  const ScopedObject frame(connection_, kCopyFrameDestroy,
                           [&events](uint32_t event, Arguments& arguments) {
                             HandleFrameEvent(events, event, arguments);
                           });
  connection_.Send(session, kCopySessionCreateFrame, {frame.id()});
  connection_.Send(frame.id(), kCopyFrameAttach, {image.buffer()});
  connection_.Send(frame.id(), kCopyFrameDamage, {0, 0, layout.width, layout.height});
  connection_.Send(frame.id(), kCopyFrameCapture, {});
  connection_.Await([&] { return events.isReady || events.hasFailed; });
  if (events.failedByConstraints) {
    // The new ones may have come already, and be the same ones.
    if (sent.isUsed) sent.isWhole = sent.hasFormat = false;
    return {};
  }
  if (events.hasFailed) throw Error(Reason::kRefused, kCaptureRefused);
  return image.ToFrame(events.orientation, false);
}

}  // namespace

std::unique_ptr<Backend> OpenImageCopy(Connection& connection, const Screen& screen) {
  const uint32_t sources = screen.global(Global::kSourceManager).object;
  const uint32_t manager = screen.global(Global::kCopyManager).object;
  const uint32_t shm = screen.global(Global::kShm).object;
  if (sources == 0 || manager == 0 || shm == 0) throw Error(Reason::kUnsupported, kNotOffered);
  return std::make_unique<ImageCopy>(connection, sources, manager, shm);
}

}  // namespace qrv::desktop::wayland
