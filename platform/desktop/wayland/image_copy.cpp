#include "platform/desktop/wayland/image_copy.h"

#include "platform/desktop/frame.h"
#include "platform/desktop/wayland/protocol.h"
#include "platform/desktop/wayland/segments.h"
#include "platform/desktop/wayland/shared_image.h"

namespace qrv::desktop::wayland {
namespace {

// What an output's size or format may change while a frame of it is under way.
constexpr int kTries = 3;

// What a session has told of the images that it gives.
struct Constraints {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t format = 0;
  bool hasFormat = false;
  bool isWhole = false;  // all of them have come
  bool isUsed = false;   // a frame was asked for with them
  bool isStopped = false;
};

void HandleSessionEvent(Constraints& told, uint32_t event, Arguments& arguments) {
  if (told.isWhole && event <= kCopySessionDone) told = {};  // new ones
  switch (event) {
    case kCopySessionSize:
      told.width = arguments.TakeUint();
      told.height = arguments.TakeUint();
      break;
    case kCopySessionFormat: {
      // The smallest numbers are those of a frame's own format.
      const uint32_t format = arguments.TakeUint();
      if (!IsKnownFormat(format) || (told.hasFormat && told.format <= format)) break;
      told.format = format;
      told.hasFormat = true;
      break;
    }
    case kCopySessionDone:
      told.isWhole = true;
      break;
    case kCopySessionStopped:
      told.isStopped = true;
      break;
    default:
      break;
  }
}

struct FrameEvents {
  uint32_t transform = 0;
  bool isReady = false;
  bool hasFailed = false;
  bool failedByConstraints = false;
};

void HandleFrameEvent(FrameEvents& told, uint32_t event, Arguments& arguments) {
  switch (event) {
    case kCopyFrameTransform:
      told.transform = arguments.TakeUint();
      break;
    case kCopyFrameReady:
      told.isReady = true;
      break;
    case kCopyFrameFailed:
      told.hasFailed = true;
      told.failedByConstraints = arguments.TakeUint() == kFailedByConstraints;
      break;
    default:
      break;
  }
}

class ImageCopy : public PixelSource {
 public:
  ImageCopy(Connection& connection, uint32_t sources, uint32_t manager, uint32_t shm)
      : connection_(connection), sources_(sources), manager_(manager), segments_(connection, shm) {}

  Frame Capture(const PlacedOutput& output, const PixelRect& part, std::string& problem) override;
  const char* Name() const override { return "ext-image-copy-capture"; }

 private:
  Frame TakeWhole(uint32_t session, Constraints& told, std::string& problem);
  Frame Take(uint32_t session, const ImageLayout& layout, bool& isOutdated, std::string& problem);

  Connection& connection_;
  uint32_t sources_;
  uint32_t manager_;
  WaylandSegments segments_;
};

// A session of its own for each capture: the first frame of a session comes at once, those that
// follow wait for something to change.
Frame ImageCopy::Capture(const PlacedOutput& output, const PixelRect& part, std::string& problem) {
  constexpr uint32_t kNoPointer = 0;
  const uint32_t source = connection_.NewObject();
  connection_.Send(sources_, kSourceManagerCreate, {source, output.object});
  Constraints told;
  const uint32_t session = connection_.NewObject([&told](uint32_t event, Arguments& arguments) {
    HandleSessionEvent(told, event, arguments);
  });
  connection_.Send(manager_, kCopyManagerCreateSession, {session, source, kNoPointer});
  const Frame whole = TakeWhole(session, told, problem);
  connection_.Destroy(session, kCopySessionDestroy);
  connection_.Destroy(source, kSourceDestroy);
  if (!whole) return {};
  if (whole.width != output.display.pixelWidth || whole.height != output.display.pixelHeight) {
    problem = kOutputChanged;
    return {};
  }
  return PartOf(whole, part);
}

Frame ImageCopy::TakeWhole(uint32_t session, Constraints& told, std::string& problem) {
  for (int i = 0; i < kTries; ++i) {
    problem = kCaptureRefused;
    if (!connection_.Await([&] { return told.isWhole || told.isStopped; })) return {};
    if (told.isStopped) return {};
    ImageLayout layout;
    layout.width = told.width;
    layout.height = told.height;
    layout.format = told.hasFormat ? told.format : ~0U;
    if (told.hasFormat) layout.stride = (told.width * BytesPerPixel(told.format) + 3) / 4 * 4;
    told.isUsed = true;
    bool isOutdated = false;
    Frame frame = Take(session, layout, isOutdated, problem);
    if (frame || !isOutdated) return frame;
    // The new constraints may have come already, and be the same ones.
    if (told.isUsed) told.isWhole = told.hasFormat = false;
  }
  return {};
}

Frame ImageCopy::Take(uint32_t session, const ImageLayout& layout, bool& isOutdated,
                      std::string& problem) {
  const SharedImage image(connection_, segments_, layout, problem);
  if (image.buffer() == 0) return {};
  FrameEvents told;
  const uint32_t frame = connection_.NewObject(
      [&told](uint32_t event, Arguments& arguments) { HandleFrameEvent(told, event, arguments); });
  connection_.Send(session, kCopySessionCreateFrame, {frame});
  connection_.Send(frame, kCopyFrameAttach, {image.buffer()});
  connection_.Send(frame, kCopyFrameDamage, {0, 0, layout.width, layout.height});
  connection_.Send(frame, kCopyFrameCapture, {});
  connection_.Await([&] { return told.isReady || told.hasFailed; });
  connection_.Destroy(frame, kCopyFrameDestroy);
  isOutdated = told.failedByConstraints;
  if (!told.isReady) return {};
  problem = kNoMemory;
  return image.ToFrame(OrientationOf(told.transform), false);
}

}  // namespace

std::unique_ptr<PixelSource> OpenImageCopy(Connection& connection, const Screen& screen,
                                           std::string& problem) {
  const uint32_t sources = screen.global(Global::kSourceManager).object;
  const uint32_t manager = screen.global(Global::kCopyManager).object;
  const uint32_t shm = screen.global(Global::kShm).object;
  if (sources == 0 || manager == 0 || shm == 0) {
    problem = kNotOffered;
    return nullptr;
  }
  return std::make_unique<ImageCopy>(connection, sources, manager, shm);
}

}  // namespace qrv::desktop::wayland
