#include "platform/desktop/wayland/image_copy.h"

#include <algorithm>
#include <optional>
#include <vector>

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

// An output's session, and its frame under way.
struct Taking {
  bool awaitsConstraints() const { return !isOver && !told.isWhole && !told.isStopped; }
  bool awaitsPixels() const { return frame != 0 && !frameTold.isReady && !frameTold.hasFailed; }

  uint32_t source = 0;
  uint32_t session = 0;
  Constraints told;
  uint32_t frame = 0;
  FrameEvents frameTold;
  std::optional<SharedImage> image;
  bool isOver = false;  // with or without a frame
};

class ImageCopy : public PixelSource {
 public:
  ImageCopy(Connection& connection, uint32_t sources, uint32_t manager, uint32_t shm)
      : connection_(connection), sources_(sources), manager_(manager), segments_(connection, shm) {}

  void Capture(std::span<OutputShare> shares, std::string& problem) override;
  const char* Name() const override { return "ext-image-copy-capture"; }

 private:
  void Begin(Taking& taking, const PlacedOutput& output);
  void Ask(Taking& taking, std::string& problem);
  void Take(Taking& taking, OutputShare& share, std::string& problem);

  Connection& connection_;
  uint32_t sources_;
  uint32_t manager_;
  WaylandSegments segments_;
};

// Sessions of their own for each capture: the first frame of a session comes at once, those that
// follow wait for something to change.
void ImageCopy::Capture(std::span<OutputShare> shares, std::string& problem) {
  std::vector<Taking> takings(shares.size());  // stay where they are, for their handlers
  problem = kCaptureRefused;
  for (size_t i = 0; i < shares.size(); ++i) Begin(takings[i], shares[i].output);
  for (int tries = 0; tries < kTries && !std::ranges::all_of(takings, &Taking::isOver); ++tries) {
    connection_.Await([&] { return std::ranges::none_of(takings, &Taking::awaitsConstraints); });
    for (Taking& each : takings) Ask(each, problem);
    connection_.Await([&] { return std::ranges::none_of(takings, &Taking::awaitsPixels); });
    for (size_t i = 0; i < shares.size(); ++i) Take(takings[i], shares[i], problem);
  }
  for (const Taking& each : takings) {
    connection_.Destroy(each.session, kCopySessionDestroy);
    connection_.Destroy(each.source, kSourceDestroy);
  }
}

void ImageCopy::Begin(Taking& taking, const PlacedOutput& output) {
  constexpr uint32_t kNoPointer = 0;
  taking.source = connection_.NewObject();
  connection_.Send(sources_, kSourceManagerCreate, {taking.source, output.object});
  taking.session =
      connection_.NewObject([&told = taking.told](uint32_t event, Arguments& arguments) {
        HandleSessionEvent(told, event, arguments);
      });
  connection_.Send(manager_, kCopyManagerCreateSession,
                   {taking.session, taking.source, kNoPointer});
}

void ImageCopy::Ask(Taking& taking, std::string& problem) {
  if (taking.isOver) return;
  Constraints& told = taking.told;
  taking.isOver = !told.isWhole || told.isStopped;
  if (taking.isOver) return;
  ImageLayout layout;
  layout.width = told.width;
  layout.height = told.height;
  layout.format = told.hasFormat ? told.format : ~0U;
  if (told.hasFormat) layout.stride = (told.width * BytesPerPixel(told.format) + 3) / 4 * 4;
  told.isUsed = true;
  taking.image.emplace(connection_, segments_, layout, problem);
  taking.isOver = taking.image->buffer() == 0;
  if (taking.isOver) return;
  taking.frameTold = {};
  taking.frame =
      connection_.NewObject([&told = taking.frameTold](uint32_t event, Arguments& arguments) {
        HandleFrameEvent(told, event, arguments);
      });
  connection_.Send(taking.session, kCopySessionCreateFrame, {taking.frame});
  connection_.Send(taking.frame, kCopyFrameAttach, {taking.image->buffer()});
  connection_.Send(taking.frame, kCopyFrameDamage, {0, 0, layout.width, layout.height});
  connection_.Send(taking.frame, kCopyFrameCapture, {});
}

void ImageCopy::Take(Taking& taking, OutputShare& share, std::string& problem) {
  if (taking.isOver) return;
  connection_.Destroy(taking.frame, kCopyFrameDestroy);
  taking.frame = 0;
  const FrameEvents& told = taking.frameTold;
  if (told.failedByConstraints) {
    // The new ones may have come already, and be the same ones.
    if (taking.told.isUsed) taking.told.isWhole = taking.told.hasFormat = false;
    return;
  }
  taking.isOver = true;
  if (!told.isReady) return;
  const Frame whole = taking.image->ToFrame(OrientationOf(told.transform), false);
  const Display& display = share.output.display;
  if (!whole) {
    problem = kNoMemory;
  } else if (whole.width != display.pixelWidth || whole.height != display.pixelHeight) {
    problem = kOutputChanged;
  } else {
    share.frame = PartOf(whole, share.part);
  }
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
