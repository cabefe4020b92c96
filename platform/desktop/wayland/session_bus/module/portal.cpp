#include "platform/desktop/wayland/session_bus/module/portal.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <random>
#include <set>

#include "platform/desktop/frames/resampled_frame.h"
#include "platform/desktop/wayland/session_bus/module/bus.h"
#include "platform/desktop/wayland/session_bus/module/picture_file.h"

namespace qrv::desktop::wayland::session_bus {
namespace {

constexpr char kProgram[] = "org.freedesktop.portal.Desktop";
constexpr char kObject[] = "/org/freedesktop/portal/desktop";
constexpr char kInterface[] = "org.freedesktop.portal.Screenshot";
constexpr char kRequestInterface[] = "org.freedesktop.portal.Request";
constexpr Callee kScreenshot = {kProgram, kObject, kInterface};
constexpr Callee kProperties = {kProgram, kObject, "org.freedesktop.DBus.Properties"};

// The portal takes this long only when it waits for a person.
constexpr std::chrono::milliseconds kMoment{1500};

struct Response {
  bool hasArrived = false;
  bool isValid = false;
  uint32_t code = 0;
  std::string uri;
};
constexpr uint32_t kGranted = 0;
constexpr uint32_t kDenied = 1;

constexpr char kInvalidResponse[] = "the portal's response is invalid";

bool ReadResponse(const Message& signal, Response& response) {
  return sd_bus_message_read_basic(signal.get(), 'u', &response.code) > 0 &&
         ReadDictionary(signal, [&](const std::string& name, const std::string& type) {
           const char* uri = nullptr;
           if (name != "uri" || type != "s") return false;
           if (sd_bus_message_read_basic(signal.get(), 's', &uri) <= 0) return false;
           response.uri = uri;
           return true;
         });
}

// Only the first response counts.
int HandleResponse(sd_bus_message* signal, void* data, sd_bus_error*) {
  auto& response = *static_cast<Response*>(data);
  if (response.hasArrived) return 0;
  response.hasArrived = true;
  const Message message(sd_bus_message_ref(signal));
  try {
    response.isValid = ReadResponse(message, response);
  } catch (const std::bad_alloc&) {
    response.isValid = false;
  }
  return 0;
}

std::string NewToken() {
  std::random_device random;
  char token[32];
  std::snprintf(token, sizeof token, "qrv%08x%08x", random(), random());
  return token;
}

// The object that sends the response to a request with that token.
std::string RequestPath(const Bus& bus, const std::string& token) {
  const char* name = nullptr;
  if (sd_bus_get_unique_name(bus.get(), &name) < 0 || name[0] != ':') throw std::bad_alloc();
  std::string sender = name + 1;
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kObject) + "/request/" + sender + "/" + token;
}

// A request to the portal, and its response. The destructor closes a request without a response, so
// that the portal takes its dialog off the screen.
class Request {
 public:
  explicit Request(const Bus& bus) : bus_(bus), token_(NewToken()) {
    Follow(RequestPath(bus, token_));
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;
  ~Request() {
    if (response_.hasArrived) return;
    try {
      const Message close = NewCall(bus_, {kProgram, path_.c_str(), kRequestInterface}, "Close");
      sd_bus_send(bus_.get(), close.get(), nullptr);
    } catch (const std::bad_alloc&) {  // the end of the connection closes it
    }
  }

  const char* token() const { return token_.c_str(); }
  const Response& response() const { return response_; }

  // Listens for the response of that object: portals before version 0.9 choose the path themselves.
  void Follow(const std::string& path) {
    if (path == path_) return;
    path_ = path;
    sd_bus_slot* slot = nullptr;
    // Need not wait: the bus handles messages in order.
    if (sd_bus_match_signal_async(bus_.get(), &slot, kProgram, path.c_str(), kRequestInterface,
                                  "Response", HandleResponse, nullptr, &response_) < 0) {
      throw std::bad_alloc();
    }
    slot_.reset(slot);
  }

 private:
  const Bus& bus_;
  const std::string token_;
  std::string path_;
  Response response_;
  Slot slot_;
};

class Portal : public Backend {
 public:
  Portal(const PersonCalls& person, Clock::duration personTimeout)
      : person_(person), personTimeout_(personTimeout) {}

  void BeginCapture() override;
  Frame Capture(const PlacedOutput& output, const PixelRect& region, Pointer,
                Deadline deadline) override;
  const char* name() const override { return "desktop portal"; }

 private:
  Response RequestPicture(Deadline deadline);
  bool AwaitResponse(const Bus& bus, const Response& response);

  PersonCalls person_;
  Clock::duration personTimeout_;
  Frame picture_;
  std::set<uint32_t> cut_;  // the displays that were cut from the picture
};

// Cuts a display out of a picture of the whole desktop, scaled to the display's pixels.
Frame Cut(const Frame& picture, const PlacedOutput& output) {
  using namespace qrv::pixels;
  const PixelRect& all = output.desktop.units;
  const PixelRect& logical = output.logical;
  const Display& display = output.display;
  const Span across = {logical.x - all.x, logical.x - all.x + logical.width};
  const Span down = {logical.y - all.y, logical.y - all.y + logical.height};
  const AxisMap columns = MapAxis({{0, all.width}, picture.width}, across, {0, display.pixelWidth},
                                  {0, display.pixelWidth});
  const AxisMap rows = MapAxis({{0, all.height}, picture.height}, down, {0, display.pixelHeight},
                               {0, display.pixelHeight});
  return Resampled(PartOf(picture, SourceOf(columns, rows)), columns, rows);
}

void Portal::BeginCapture() {
  picture_ = {};
  cut_.clear();
}

Frame ReadPicture(const Response& response, const Space& desktop) {
  if (!response.isValid) throw Error(Reason::kUnsupported, kInvalidResponse);
  if (response.code == kDenied) {
    throw Error(Reason::kRefused, "the user denied the portal's request");
  }
  if (response.code != kGranted) throw Error(Reason::kRefused, "the portal's capture failed");
  const std::string path = PathOfUri(response.uri);
  if (path.empty()) throw Error(Reason::kUnsupported, "the portal's picture is not a local file");
  return ReadAndDeletePicture(path, desktop);
}

// Cuts all displays of a capture from one picture, so that a person is asked once.
Frame Portal::Capture(const PlacedOutput& output, const PixelRect& region, Pointer /*pointer*/,
                      Deadline deadline) {
  if (!picture_ || cut_.contains(output.display.id)) {
    BeginCapture();
    picture_ = ReadPicture(RequestPicture(deadline), output.desktop);
  }
  cut_.insert(output.display.id);
  return PartOf(Cut(picture_, output), region);
}

Response Portal::RequestPicture(Deadline deadline) {
  const Bus bus = OpenBus(deadline);
  Request request(bus);  // listens first: the response may arrive before the reply to the call
  const Message call = NewCall(bus, kScreenshot, "Screenshot");
  Append(call, "sa{sv}", "", 2, "handle_token", "s", request.token(), "interactive", "b", 0);
  const Message reply = Call(bus, call, deadline);
  const char* path = nullptr;
  if (sd_bus_message_read_basic(reply.get(), 'o', &path) <= 0) {
    throw Error(Reason::kUnsupported, kInvalidResponse);
  }
  request.Follow(path);
  if (AwaitResponse(bus, request.response())) return request.response();
  throw Error(Reason::kRefused, "the user did not answer the portal's request in time");
}

bool Portal::AwaitResponse(const Bus& bus, const Response& response) {
  struct Stopwatch {
    ~Stopwatch() { person.addTime(std::chrono::nanoseconds(Clock::now() - start).count()); }
    const PersonCalls& person;
    Clock::time_point start = Clock::now();
  };
  const Stopwatch stopwatch{person_};
  const auto hasArrived = [&] { return response.hasArrived; };
  const Deadline end = stopwatch.start + personTimeout_;
  if (Await(bus, std::min(stopwatch.start + kMoment, end), hasArrived)) return true;
  person_.report(
      "waiting for the desktop portal: it may be asking on the screen whether to allow this");
  return Await(bus, end, hasArrived);
}

}  // namespace

// Asks for the interface's version to find out whether it is available.
std::unique_ptr<Backend> OpenPortalBackend(const PersonCalls& person, Clock::duration personTimeout,
                                           Deadline deadline) {
  const Bus bus = OpenBus(deadline);
  const Message call = NewCall(bus, kProperties, "Get");
  Append(call, "ss", kInterface, "version");
  Call(bus, call, deadline);
  return std::make_unique<Portal>(person, personTimeout);
}

}  // namespace qrv::desktop::wayland::session_bus
