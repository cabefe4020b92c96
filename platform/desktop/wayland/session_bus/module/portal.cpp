#include "platform/desktop/wayland/session_bus/module/portal.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <random>
#include <set>

#include "platform/desktop/frames/resampled_frame.h"
#include "platform/desktop/wayland/session_bus/module/bus.h"
#include "platform/desktop/wayland/session_bus/module/picture_file.h"

namespace qrv::desktop::session_bus {
namespace {

constexpr char kProgram[] = "org.freedesktop.portal.Desktop";
constexpr char kObject[] = "/org/freedesktop/portal/desktop";
constexpr char kInterface[] = "org.freedesktop.portal.Screenshot";
constexpr char kRequestInterface[] = "org.freedesktop.portal.Request";
constexpr Callee kScreenshot = {kProgram, kObject, kInterface};
constexpr Callee kProperties = {kProgram, kObject, "org.freedesktop.DBus.Properties"};

// The host hears that a person is waited for when it can be nothing else.
constexpr std::chrono::milliseconds kMoment{1500};

struct Response {
  bool hasCome = false;
  bool makesSense = false;
  uint32_t code = 0;
  std::string uri;
};
constexpr uint32_t kGranted = 0;
constexpr uint32_t kDenied = 1;

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

// The first answer counts, whatever it is.
int TakeResponse(sd_bus_message* signal, void* data, sd_bus_error*) {
  auto& response = *static_cast<Response*>(data);
  if (response.hasCome) return 0;
  response.hasCome = true;
  const Message message(sd_bus_message_ref(signal));
  try {
    response.makesSense = ReadResponse(message, response);
  } catch (const std::bad_alloc&) {
    response.makesSense = false;
  }
  return 0;
}

std::string NewToken() {
  std::random_device random;
  char token[32];
  std::snprintf(token, sizeof token, "qrv%08x%08x", random(), random());
  return token;
}

// Where the answer to a request of that token comes.
std::string RequestPath(const Bus& bus, const std::string& token) {
  const char* name = nullptr;
  if (sd_bus_get_unique_name(bus.get(), &name) < 0 || name[0] != ':') throw std::bad_alloc();
  std::string sender = name + 1;
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kObject) + "/request/" + sender + "/" + token;
}

// The portal's request for an answer. One that is still open at the end is closed, and the portal
// takes its question off the screen.
class Request {
 public:
  explicit Request(const Bus& bus) : bus_(bus), token_(NewToken()) {
    Follow(RequestPath(bus, token_));
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;
  ~Request() {
    if (response_.hasCome) return;
    try {
      const Message close = NewCall(bus_, {kProgram, path_.c_str(), kRequestInterface}, "Close");
      sd_bus_send(bus_.get(), close.get(), nullptr);
    } catch (const std::bad_alloc&) {  // it ends with the connection then
    }
  }

  const char* token() const { return token_.c_str(); }
  const Response& response() const { return response_; }

  // Takes the answer from there: portals of before version 0.9 choose the path themselves.
  void Follow(const std::string& path) {
    if (path == path_) return;
    path_ = path;
    sd_bus_slot* slot = nullptr;
    // Not waited for: the bus reads one message after the other.
    if (sd_bus_match_signal_async(bus_.get(), &slot, kProgram, path.c_str(), kRequestInterface,
                                  "Response", TakeResponse, nullptr, &response_) < 0) {
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

class Portal : public wayland::Backend {
 public:
  Portal(const PersonCalls& person, Clock::duration patience)
      : person_(person), patience_(patience) {}

  void BeginCapture() override;
  Frame Capture(const wayland::PlacedOutput& output, const PixelRect& region, Pointer,
                Deadline deadline) override;
  const char* Name() const override { return "desktop portal"; }

 private:
  Response Ask(Deadline deadline);
  bool AwaitAnswer(const Bus& bus, const Response& response);

  PersonCalls person_;
  Clock::duration patience_;
  Frame picture_;
  std::set<uint32_t> served_;  // the displays that were cut from the picture
};

// A display's pixels out of a picture of the whole desktop: as many as it has, whatever the picture
// has.
Frame Cut(const Frame& picture, const wayland::PlacedOutput& output) {
  using namespace qrv::pixels;
  const PixelRect& all = output.desktop.units;
  const PixelRect& place = output.logical;
  const Display& display = output.display;
  const Span across = {place.x - all.x, place.x - all.x + place.width};
  const Span down = {place.y - all.y, place.y - all.y + place.height};
  const AxisMap columns = MapAxis({{0, all.width}, picture.width}, across, {0, display.pixelWidth},
                                  {0, display.pixelWidth});
  const AxisMap rows = MapAxis({{0, all.height}, picture.height}, down, {0, display.pixelHeight},
                               {0, display.pixelHeight});
  return Resampled(PartOf(picture, SourceOf(columns, rows)), columns, rows);
}

void Portal::BeginCapture() {
  picture_ = {};
  served_.clear();
}

Frame TakeAnswer(const Response& response, const wayland::Space& desktop) {
  if (!response.makesSense) throw Error(Reason::kUnsupported, "the portal's answer makes no sense");
  if (response.code == kDenied) {
    throw Error(Reason::kRefused, "the portal's question was answered with no");
  }
  if (response.code != kGranted) {
    throw Error(Reason::kRefused, "the portal could not take a picture");
  }
  const std::string path = PathOfUri(response.uri);
  if (path.empty()) throw Error(Reason::kUnsupported, "the portal names no local file");
  return TakePicture(path, desktop);
}

// The displays of one capture are cut from one picture, so that a person is asked once for it.
Frame Portal::Capture(const wayland::PlacedOutput& output, const PixelRect& region,
                      Pointer /*pointer*/, Deadline deadline) {
  if (!picture_ || served_.contains(output.display.id)) {
    BeginCapture();
    picture_ = TakeAnswer(Ask(deadline), output.desktop);
  }
  served_.insert(output.display.id);
  return PartOf(Cut(picture_, output), region);
}

Response Portal::Ask(Deadline deadline) {
  const Bus bus = OpenBus(deadline);
  Request request(bus);  // listens first: the answer may come before that to the call
  const Message call = NewCall(bus, kScreenshot, "Screenshot");
  Append(call, "sa{sv}", "", 2, "handle_token", "s", request.token(), "interactive", "b", 0);
  const Message reply = Call(bus, call, deadline);
  const char* path = nullptr;
  if (sd_bus_message_read_basic(reply.get(), 'o', &path) <= 0) {
    throw Error(Reason::kUnsupported, "the portal's answer makes no sense");
  }
  request.Follow(path);
  if (AwaitAnswer(bus, request.response())) return request.response();
  throw Error(Reason::kRefused, "the portal's question was not answered in time");
}

bool Portal::AwaitAnswer(const Bus& bus, const Response& response) {
  struct Stopwatch {
    ~Stopwatch() { person.addTime(std::chrono::nanoseconds(Clock::now() - start).count()); }
    const PersonCalls& person;
    Clock::time_point start = Clock::now();
  };
  const Stopwatch stopwatch{person_};
  const auto hasCome = [&] { return response.hasCome; };
  const Deadline end = stopwatch.start + patience_;
  if (Await(bus, std::min(stopwatch.start + kMoment, end), hasCome)) return true;
  person_.report(
      "waiting for the desktop portal: it may be asking on the screen whether to allow this");
  return Await(bus, end, hasCome);
}

}  // namespace

// The interface is there when it states its version.
std::unique_ptr<wayland::Backend> OpenPortalBackend(const PersonCalls& person,
                                                    Clock::duration patience, Deadline deadline) {
  const Bus bus = OpenBus(deadline);
  const Message call = NewCall(bus, kProperties, "Get");
  Append(call, "ss", kInterface, "version");
  Call(bus, call, deadline);
  return std::make_unique<Portal>(person, patience);
}

}  // namespace qrv::desktop::session_bus
