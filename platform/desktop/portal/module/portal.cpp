#include "platform/desktop/portal/module/portal.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <random>
#include <set>

#include "platform/desktop/portal/module/bus.h"
#include "platform/desktop/portal/module/picture_file.h"
#include "platform/desktop/resampled_frame.h"

namespace qrv::desktop::portal {
namespace {

constexpr char kProgram[] = "org.freedesktop.portal.Desktop";
constexpr char kObject[] = "/org/freedesktop/portal/desktop";
constexpr char kInterface[] = "org.freedesktop.portal.Screenshot";
constexpr char kRequestInterface[] = "org.freedesktop.portal.Request";
constexpr Callee kScreenshot = {kProgram, kObject, kInterface};
constexpr Callee kProperties = {kProgram, kObject, "org.freedesktop.DBus.Properties"};

// The bus may have to start the portal first.
constexpr std::chrono::seconds kStartPatience{10};
// A person who is asked has this long; and is told of after a moment, when it can be nothing else.
constexpr std::chrono::seconds kPersonPatience{60};
constexpr std::chrono::milliseconds kMoment{1500};
// How long a picture serves the displays that have not been captured since.
constexpr std::chrono::seconds kPictureLife{1};

struct Response {
  bool hasCome = false;
  uint32_t code = 0;
  std::string uri;
};
constexpr uint32_t kGranted = 0;
constexpr uint32_t kDenied = 1;

int TakeResponse(sd_bus_message* signal, void* data, sd_bus_error*) {
  auto& response = *static_cast<Response*>(data);
  const Message message(sd_bus_message_ref(signal));
  if (response.hasCome || sd_bus_message_read_basic(signal, 'u', &response.code) <= 0) return 0;
  try {
    ReadDictionary(message, [&](const std::string& name, const std::string& type) {
      const char* uri = nullptr;
      if (name != "uri" || type != "s") return false;
      if (sd_bus_message_read_basic(signal, 's', &uri) <= 0) return false;
      response.uri = uri;
      return true;
    });
  } catch (const std::bad_alloc&) {
    response.uri.clear();
  }
  response.hasCome = true;
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
  if (sd_bus_get_unique_name(bus.get(), &name) < 0 || name[0] != ':') return {};
  std::string sender = name + 1;
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kObject) + "/request/" + sender + "/" + token;
}

class Portal : public wayland::PixelSource {
 public:
  explicit Portal(void (*tell)(const char* words)) : tell_(tell) {}

  void Capture(std::span<wayland::OutputShare> shares, std::string& problem) override {
    for (wayland::OutputShare& each : shares) each.frame = Take(each, problem);
  }
  const char* Name() const override { return "desktop portal"; }

 private:
  Frame Take(const wayland::OutputShare& share, std::string& problem);
  bool TakeNewPicture(std::string& problem);
  bool Ask(Response& response, std::string& problem);
  bool AwaitResponse(const Bus& bus, const std::string& request, const Response& response);

  void (*tell_)(const char* words);
  Frame picture_;
  Clock::time_point takenAt_;
  std::set<uint32_t> served_;  // the displays that were cut from the picture
};

// A display's pixels out of a picture of the whole desktop: as many as it has, whatever the picture
// has. Empty when there is no memory.
Frame Cut(const Frame& picture, const wayland::PlacedOutput& output) {
  using namespace qrv::pixels;
  const PixelRect& all = output.desktop;
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

// The displays of one capture are cut from one picture, so that a person is asked once for it.
Frame Portal::Take(const wayland::OutputShare& share, std::string& problem) {
  const wayland::PlacedOutput& output = share.output;
  const bool isFresh = picture_ && Clock::now() - takenAt_ < kPictureLife;
  if (!isFresh || served_.contains(output.display.id)) {
    picture_ = {};
    if (!TakeNewPicture(problem)) return {};
  }
  served_.insert(output.display.id);
  const Frame frame = Cut(picture_, output);
  if (!frame) problem = kNoMemory;
  return frame ? PartOf(frame, share.part) : Frame{};
}

bool Portal::TakeNewPicture(std::string& problem) {
  Response response;
  if (!Ask(response, problem)) return false;
  if (response.code != kGranted) {
    problem = response.code == kDenied ? "the portal's question was answered with no"
                                       : "the portal could not take a picture";
    return false;
  }
  const std::string path = PathOfUri(response.uri);
  if (path.empty()) {
    problem = "the portal names no local file";
    return false;
  }
  picture_ = TakePicture(path, problem);
  takenAt_ = Clock::now();
  served_.clear();
  return static_cast<bool>(picture_);
}

bool Portal::Ask(Response& response, std::string& problem) {
  const Bus bus = OpenBus(Clock::now() + kPatience, problem);
  if (!bus) return false;
  problem = kNoMemory;
  const std::string token = NewToken();
  std::string request = RequestPath(bus, token);
  const Message call = NewCall(bus, kScreenshot, "Screenshot");
  // The answer may come before that to the call. The bus ends with this function, and the matches
  // with the bus.
  if (request.empty() || !call ||
      sd_bus_match_signal(bus.get(), nullptr, kProgram, request.c_str(), kRequestInterface,
                          "Response", TakeResponse, &response) < 0 ||
      sd_bus_message_append(call.get(), "sa{sv}", "", 2, "handle_token", "s", token.c_str(),
                            "interactive", "b", 0) < 0) {
    return false;
  }
  const Message reply = Call(bus, call, Clock::now() + kStartPatience, problem);
  const char* path = nullptr;
  if (!reply || sd_bus_message_read_basic(reply.get(), 'o', &path) <= 0) return false;
  // Portals of before version 0.9 choose the path themselves.
  if (request != path) {
    request = path;
    sd_bus_match_signal(bus.get(), nullptr, kProgram, path, kRequestInterface, "Response",
                        TakeResponse, &response);
  }
  if (AwaitResponse(bus, request, response)) return true;
  problem = "nobody has answered the portal's question within a minute";
  return false;
}

bool Portal::AwaitResponse(const Bus& bus, const std::string& request, const Response& response) {
  const auto hasCome = [&] { return response.hasCome; };
  if (Await(bus, Clock::now() + kMoment, hasCome)) return true;
  tell_("waiting for the desktop portal: it may be asking on the screen whether to allow this");
  if (Await(bus, Clock::now() + kPersonPatience - kMoment, hasCome)) return true;
  const Message close = NewCall(bus, {kProgram, request.c_str(), kRequestInterface}, "Close");
  if (close) sd_bus_send(bus.get(), close.get(), nullptr);
  return false;
}

}  // namespace

// The interface is there when it tells its version.
std::unique_ptr<wayland::PixelSource> OpenPortalSource(void (*tell)(const char* words),
                                                       std::string& problem) {
  const Bus bus = OpenBus(Clock::now() + kPatience, problem);
  if (!bus) return nullptr;
  problem = kNoMemory;
  const Message call = NewCall(bus, kProperties, "Get");
  if (!call || sd_bus_message_append(call.get(), "ss", kInterface, "version") < 0) return nullptr;
  if (!Call(bus, call, Clock::now() + kStartPatience, problem)) return nullptr;
  return std::make_unique<Portal>(tell);
}

}  // namespace qrv::desktop::portal
