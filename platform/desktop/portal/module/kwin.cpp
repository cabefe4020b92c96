#include "platform/desktop/portal/module/kwin.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "platform/desktop/frame.h"
#include "platform/desktop/portal/module/bus.h"

namespace qrv::desktop::portal {
namespace {

constexpr Callee kScreenShot = {"org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                "org.kde.KWin.ScreenShot2"};
// A pipe that holds much is read in few turns.
constexpr int kPipeBytes = 1 << 20;
constexpr uint32_t kMaxSide = 32767;

// What KWin says of the bytes that it sends. A format is one of QImage's; of the 32-bit ones every
// pixel is a native word, from the high byte on: alpha or nothing, red, green, blue.
struct ImageInfo {
  uint32_t format = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t stride = 0;
};
constexpr uint32_t kFirstFormat = 4;
constexpr uint32_t kLastFormat = 6;

bool ReadInfo(const Message& reply, ImageInfo& info) {
  struct {
    const char* name;
    uint32_t& value;
  } const wanted[] = {{"format", info.format},
                      {"width", info.width},
                      {"height", info.height},
                      {"stride", info.stride}};
  const bool isRead = ReadDictionary(reply, [&](const std::string& name, const std::string& type) {
    for (const auto& each : wanted) {
      if (name == each.name && type == "u") {
        return sd_bus_message_read_basic(reply.get(), 'u', &each.value) > 0;
      }
    }
    return false;
  });
  return isRead && info.format >= kFirstFormat && info.format <= kLastFormat && info.width > 0 &&
         info.width <= kMaxSide && info.height > 0 && info.height <= kMaxSide &&
         info.stride % 4 == 0 && info.stride >= info.width * 4 && info.stride <= kMaxSide * 8;
}

// Reads all of it; false when it ends or stops before.
bool ReadAll(int pipe, uint8_t* to, size_t bytes, Deadline deadline) {
  while (bytes > 0) {
    if (!WaitFor(pipe, POLLIN, deadline)) return false;
    const ssize_t count = read(pipe, to, bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) return false;
    to += count;
    bytes -= static_cast<size_t>(count);
  }
  return true;
}

Frame ReadImage(int pipe, const ImageInfo& info, Deadline deadline, std::string& problem) {
  // Its rows are as long as KWin's.
  Frame frame = NewFrame(static_cast<int32_t>(info.stride / 4), static_cast<int32_t>(info.height));
  if (!frame) {
    problem = kNoMemory;
    return {};
  }
  if (!ReadAll(pipe, frame.pixels, size_t{info.stride} * info.height, deadline)) {
    problem = "KWin does not send the pixels";
    return {};
  }
  frame.width = static_cast<int32_t>(info.width);
  return frame;
}

// Pixels of the screen as they are, without the pointer.
bool AppendOptions(const Message& call) {
  return sd_bus_message_append(call.get(), "a{sv}", 2, "native-resolution", "b", 1,
                               "include-cursor", "b", 0) >= 0;
}

class KWin : public wayland::PixelSource {
 public:
  void Capture(std::span<wayland::OutputShare> shares, std::string& problem) override {
    for (wayland::OutputShare& each : shares) each.frame = Take(each, problem);
  }
  const char* Name() const override { return "KWin ScreenShot2"; }

 private:
  static Frame Take(const wayland::OutputShare& share, std::string& problem);
};

Frame KWin::Take(const wayland::OutputShare& share, std::string& problem) {
  const wayland::PlacedOutput& output = share.output;
  const PixelRect& part = share.part;
  const Display& display = output.display;
  const PixelRect whole = {0, 0, display.pixelWidth, display.pixelHeight};
  // An area is in units of the compositor's space.
  const bool isArea = part != whole && display.pixelWidth == output.logical.width &&
                      display.pixelHeight == output.logical.height;
  const PixelRect wanted = isArea ? part : whole;
  const Deadline deadline = Clock::now() + kPatience;
  const Bus bus = OpenBus(deadline, problem);
  if (!bus) return {};
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
    problem = "there is no descriptor left for a pipe";
    return {};
  }
  const UniqueFd readEnd(ends[0]);
  UniqueFd writeEnd(ends[1]);
  fcntl(readEnd.get(), F_SETPIPE_SZ, kPipeBytes);
  // KWin writes as a program does that waits.
  fcntl(writeEnd.get(), F_SETFL, O_WRONLY);

  problem = kNoMemory;
  Message call = NewCall(bus, kScreenShot, isArea ? "CaptureArea" : "CaptureScreen");
  if (!call) return {};
  const int named =
      isArea ? sd_bus_message_append(call.get(), "iiuu", output.logical.x + part.x,
                                     output.logical.y + part.y, static_cast<uint32_t>(part.width),
                                     static_cast<uint32_t>(part.height))
             : sd_bus_message_append(call.get(), "s", display.name);
  if (named < 0 || !AppendOptions(call) ||
      sd_bus_message_append(call.get(), "h", writeEnd.get()) < 0) {
    return {};
  }
  const Message reply = Call(bus, call, deadline, problem);
  if (!reply) return {};
  // KWin alone holds the other end from here on.
  writeEnd = UniqueFd();
  call.reset();
  ImageInfo info;
  if (!ReadInfo(reply, info)) {
    problem = "KWin sends pixels in a format that is not known here";
    return {};
  }
  const Frame frame = ReadImage(readEnd.get(), info, deadline, problem);
  if (!frame) return {};
  if (frame.width != wanted.width || frame.height != wanted.height) {
    problem = wayland::kOutputChanged;
    return {};
  }
  return isArea ? frame : PartOf(frame, part);
}

}  // namespace

// A pixel tells whether KWin allows it.
std::unique_ptr<wayland::PixelSource> OpenKWinSource(const Outputs& outputs, std::string& problem) {
  auto source = std::make_unique<KWin>();
  if (outputs.empty()) return nullptr;
  wayland::OutputShare pixel = {outputs.front(), {0, 0, 1, 1}};
  source->Capture({&pixel, 1}, problem);
  if (!pixel.frame) return nullptr;
  return source;
}

}  // namespace qrv::desktop::portal
