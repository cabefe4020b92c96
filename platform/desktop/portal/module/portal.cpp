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

// A person who is asked has this long; the host hears of it after a moment, when it can be nothing
// else.
constexpr std::chrono::seconds kPersonTime{60};
constexpr std::chrono::milliseconds kMoment{1500};
// How long a picture serves the displays that have not been captured since, and a no all of them.
constexpr std::chrono::seconds kAnswerLife{1};

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
  if (sd_bus_get_unique_name(bus.get(), &name) < 0 || name[0] != ':') throw std::bad_alloc();
  std::string sender = name + 1;
  std::replace(sender.begin(), sender.end(), '.', '_');
  return std::string(kObject) + "/request/" + sender + "/" + token;
}

class Portal : public wayland::Backend {
 public:
  explicit Portal(void (*report)(const char* message)) : report_(report) {}

  Frame Capture(const wayland::PlacedOutput& output, const PixelRect& region,
                Deadline deadline) override;
  const char* Name() const override { return "desktop portal"; }

 private:
  bool IsFresh() const { return Clock::now() - answeredAt_ < kAnswerLife; }
  void TakeNewPicture(Deadline deadline);
  Response Ask(Deadline deadline);
  void AwaitResponse(const Bus& bus, const std::string& request, const Response& response);

  void (*report_)(const char* message);
  Frame picture_;
  std::string refusal_;  // the last answer, if it was no
  Clock::time_point answeredAt_;
  std::set<uint32_t> served_;  // the displays that were cut from the picture
};

// A display's pixels out of a picture of the whole desktop: as many as it has, whatever the picture
// has.
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

// The displays of one capture are cut from one picture, so that a person is asked once for it; and
// a no is the answer for all of it.
Frame Portal::Capture(const wayland::PlacedOutput& output, const PixelRect& region,
                      Deadline deadline) {
  if (!refusal_.empty() && IsFresh()) throw Error(Reason::kRefused, refusal_);
  if (!picture_ || !IsFresh() || served_.contains(output.display.id)) TakeNewPicture(deadline);
  served_.insert(output.display.id);
  return PartOf(Cut(picture_, output), region);
}

void Portal::TakeNewPicture(Deadline deadline) {
  picture_ = {};
  served_.clear();
  refusal_.clear();
  try {
    const Response response = Ask(deadline);
    if (response.code == kDenied) {
      throw Error(Reason::kRefused, "the portal's question was answered with no");
    }
    if (response.code != kGranted) {
      throw Error(Reason::kRefused, "the portal could not take a picture");
    }
    const std::string path = PathOfUri(response.uri);
    if (path.empty()) throw Error(Reason::kUnsupported, "the portal names no local file");
    picture_ = TakePicture(path);
  } catch (const Error& error) {
    refusal_ = error.what();
    answeredAt_ = Clock::now();
    throw;
  }
  answeredAt_ = Clock::now();
}

Response Portal::Ask(Deadline deadline) {
  Response response;  // outlives the bus, whose matches end with it
  const Bus bus = OpenBus(deadline);
  const std::string token = NewToken();
  std::string request = RequestPath(bus, token);
  // The answer may come before that to the call.
  const auto listen = [&](const char* path) {
    if (sd_bus_match_signal(bus.get(), nullptr, kProgram, path, kRequestInterface, "Response",
                            TakeResponse, &response) < 0) {
      throw std::bad_alloc();
    }
  };
  listen(request.c_str());
  const Message call = NewCall(bus, kScreenshot, "Screenshot");
  Append(call, "sa{sv}", "", 2, "handle_token", "s", token.c_str(), "interactive", "b", 0);
  const Message reply = Call(bus, call, deadline);
  const char* path = nullptr;
  if (sd_bus_message_read_basic(reply.get(), 'o', &path) <= 0) {
    throw Error(Reason::kUnsupported, "the portal's answer makes no sense");
  }
  // Portals of before version 0.9 choose the path themselves.
  if (request != path) {
    request = path;
    listen(path);
  }
  AwaitResponse(bus, request, response);
  return response;
}

void Portal::AwaitResponse(const Bus& bus, const std::string& request, const Response& response) {
  const auto hasCome = [&] { return response.hasCome; };
  if (Await(bus, Clock::now() + kMoment, hasCome)) return;
  report_("waiting for the desktop portal: it may be asking on the screen whether to allow this");
  if (Await(bus, Clock::now() + kPersonTime - kMoment, hasCome)) return;
  const Message close = NewCall(bus, {kProgram, request.c_str(), kRequestInterface}, "Close");
  sd_bus_send(bus.get(), close.get(), nullptr);
  throw Error(Reason::kRefused, "the portal's question was not answered within a minute");
}

}  // namespace

// The interface is there when it states its version.
std::unique_ptr<wayland::Backend> OpenPortalBackend(void (*report)(const char* message),
                                                    Deadline deadline) {
  const Bus bus = OpenBus(deadline);
  const Message call = NewCall(bus, kProperties, "Get");
  Append(call, "ss", kInterface, "version");
  Call(bus, call, deadline);
  return std::make_unique<Portal>(report);
}

}  // namespace qrv::desktop::portal
