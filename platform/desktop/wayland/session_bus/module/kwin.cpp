#include "platform/desktop/wayland/session_bus/module/kwin.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "platform/desktop/frames/frame.h"
#include "platform/desktop/wayland/session_bus/module/bus.h"

namespace qrv::desktop::session_bus {
namespace {

constexpr Callee kScreenShot = {"org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                "org.kde.KWin.ScreenShot2"};
constexpr Callee kProperties = {kScreenShot.program, kScreenShot.object,
                                "org.freedesktop.DBus.Properties"};
// A pipe that holds much is read in few turns.
constexpr int kPipeBytes = 1 << 20;
// What a row may have at its end beyond its pixels, in bytes.
constexpr uint32_t kMaxPadding = 4096;
// The interface's version from which on it leaves out the caller's own windows unless told not to.
constexpr uint32_t kHidingVersion = 5;

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

// What is said of an image that must be of that size.
ImageInfo ReadInfo(const Message& reply, const PixelRect& wanted) {
  ImageInfo info;
  struct {
    const char* name;
    uint32_t& value;
  } const entries[] = {{"format", info.format},
                       {"width", info.width},
                       {"height", info.height},
                       {"stride", info.stride}};
  const bool isRead = ReadDictionary(reply, [&](const std::string& name, const std::string& type) {
    for (const auto& each : entries) {
      if (name == each.name && type == "u") {
        return sd_bus_message_read_basic(reply.get(), 'u', &each.value) > 0;
      }
    }
    return false;
  });
  if (isRead && (info.width != static_cast<uint32_t>(wanted.width) ||
                 info.height != static_cast<uint32_t>(wanted.height))) {
    throw DisplayChanged();
  }
  const uint32_t rowBytes = info.width * 4;
  if (!isRead || info.format < kFirstFormat || info.format > kLastFormat || info.stride % 4 != 0 ||
      info.stride < rowBytes || info.stride - rowBytes > kMaxPadding) {
    throw Error(Reason::kUnsupported, "KWin sends pixels in a format that is not known here");
  }
  return info;
}

void ReadAll(int pipe, uint8_t* to, size_t bytes, Deadline deadline) {
  while (bytes > 0) {
    if (Clock::now() >= deadline || !WaitFor(pipe, POLLIN, deadline)) {
      throw Error(Reason::kTimeout, "KWin does not send the pixels in time");
    }
    const ssize_t count = read(pipe, to, bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) throw Error(Reason::kUnsupported, "KWin sends fewer pixels than it said");
    to += count;
    bytes -= static_cast<size_t>(count);
  }
}

Frame ReadImage(int pipe, const ImageInfo& info, Deadline deadline) {
  // Its rows are as long as KWin's.
  Frame frame = NewFrame(static_cast<int32_t>(info.stride / 4), static_cast<int32_t>(info.height));
  ReadAll(pipe, frame.pixels, size_t{info.stride} * info.height, deadline);
  frame.width = static_cast<int32_t>(info.width);
  return frame;
}

// A pipe that KWin writes pixels into.
struct Pipe {
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
      throw Error(Reason::kNoMemory, "there is no descriptor left for a pipe");
    }
    readEnd = UniqueFd(ends[0]);
    writeEnd = UniqueFd(ends[1]);
    fcntl(readEnd.get(), F_SETPIPE_SZ, kPipeBytes);
    // KWin writes as a program does that waits.
    fcntl(writeEnd.get(), F_SETFL, O_WRONLY);
  }

  UniqueFd readEnd;
  UniqueFd writeEnd;
};

// 0 where KWin does not say, as old ones don't.
uint32_t ReadVersion(Deadline deadline) {
  const Bus bus = OpenBus(deadline);
  const Message call = NewCall(bus, kProperties, "Get");
  Append(call, "ss", kScreenShot.interface, "Version");
  uint32_t version = 0;
  try {
    sd_bus_message_read(Call(bus, call, deadline).get(), "v", "u", &version);
  } catch (const Error& error) {
    if (error.reason() != Reason::kRefused) throw;
  }
  return version;
}

class KWin : public wayland::Backend {
 public:
  explicit KWin(uint32_t version) : version_(version) {}

  Frame Capture(const wayland::PlacedOutput& output, const PixelRect& region, Pointer pointer,
                Deadline deadline) override;
  const char* Name() const override { return "KWin ScreenShot2"; }

 private:
  uint32_t version_;
};

Frame KWin::Capture(const wayland::PlacedOutput& output, const PixelRect& region, Pointer pointer,
                    Deadline deadline) {
  const Display& display = output.display;
  const PixelRect whole = AllPixels(display);
  // An area is in units of the compositor's space.
  const bool isArea = region != whole && display.pixelWidth == output.logical.width &&
                      display.pixelHeight == output.logical.height;
  const PixelRect wanted = isArea ? region : whole;
  const Bus bus = OpenBus(deadline);
  Pipe pipe;
  Message call = NewCall(bus, kScreenShot, isArea ? "CaptureArea" : "CaptureScreen");
  if (isArea) {
    Append(call, "iiuu", output.logical.x + region.x, output.logical.y + region.y,
           static_cast<uint32_t>(region.width), static_cast<uint32_t>(region.height));
  } else {
    Append(call, "s", display.name);
  }
  // Pixels of the screen as they are.
  const int options = version_ >= kHidingVersion ? 3 : 2;
  Append(call, "a{sv}", options, "native-resolution", "b", 1, "include-cursor", "b",
         pointer == Pointer::kShown ? 1 : 0, "hide-caller-windows", "b", 0);
  Append(call, "h", pipe.writeEnd.get());
  const Message reply = Call(bus, call, deadline);
  // KWin alone holds the other end from here on.
  pipe.writeEnd = UniqueFd();
  call.reset();
  const Frame frame = ReadImage(pipe.readEnd.get(), ReadInfo(reply, wanted), deadline);
  return isArea ? frame : PartOf(frame, region);
}

}  // namespace

// A pixel shows whether KWin allows it.
std::unique_ptr<wayland::Backend> OpenKWinBackend(const wayland::PlacedOutput& output,
                                                  Deadline deadline) {
  auto backend = std::make_unique<KWin>(ReadVersion(deadline));
  backend->Capture(output, {0, 0, 1, 1}, Pointer::kHidden, deadline);
  return backend;
}

}  // namespace qrv::desktop::session_bus
