// A session bus of the test's own, with the portal and KWin on it, all of them one process that
// does what the test says.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <thread>

#include "platform/desktop/session.h"
#include "platform/desktop/wayland/session_bus/module/bus.h"
#include "platform/desktop/wayland/session_bus/module/kwin.h"
#include "platform/desktop/wayland/session_bus/module/portal.h"
#include "tests/support/xvfb.h"
#include "tests/unit/platform/desktop/tested_desktop.h"
#include "tests/wayland/server.h"

namespace qrv::desktop::session_bus {
namespace {

using namespace std::chrono_literals;

enum class Deed {
  kBehaves,
  // The bus:
  kNeverGreets,
  kOnlyGreets,
  kHangsUp,
  // The portal:
  kNeverAnswers,
  kRefuses,
  kNamesNoRequest,
  kNeverResponds,
  kRespondsTwice,  // no, then yes
  kRespondsInWords,
  kNamesNoFile,
  kNamesEndlessFile,
  // KWin:
  kDrips,
  kStopsEarly,
  kStatesOtherSize,
  kStatesStride,  // the code
  kStatesWords,
};

// What the test's process and the peer's share.
struct Script {
  std::atomic<uint32_t> asked = 0, closed = 0;  // requests to the portal
  std::atomic<uint32_t> version = 0;            // of KWin's interface; 0: it states none
  std::atomic<int> hides = -1;                  // what KWin was told; -1: nothing
};

// What the peer does, and the size of the portal's picture: of width 0, a file that is none.
struct Role {
  Deed deed = Deed::kBehaves;
  uint32_t code = 0;  // of the portal's response, or KWin's stride
  int width = 122;
};

constexpr int kHeight = 40;

uint32_t ColorAt(int x, int y) { return 0x070000U | static_cast<uint32_t>(y << 8 | x); }

// --- The peer's process ---

Role role;
Script* script;
std::string folder;
bool isProbed = false;  // by KWin's first pixel: faults come afterwards

bool Does(Deed deed) { return role.deed == deed && !isProbed; }

void Respond(sd_bus* bus, const std::string& path, uint32_t code) {
  sd_bus_message* signal = nullptr;
  sd_bus_message_new_signal(bus, &signal, path.c_str(), "org.freedesktop.portal.Request",
                            "Response");
  const Message message(signal);
  const std::string file = Does(Deed::kNamesEndlessFile) ? std::string(1 << 20, 'a') : "shot.png";
  const std::string uri = "file://" + folder + "/" + file;
  if (Does(Deed::kRespondsInWords)) {
    Append(message, "s", "yes");
  } else if (Does(Deed::kNamesNoFile)) {
    Append(message, "ua{sv}", code, 1, "uri", "u", 7);
  } else {
    Append(message, "ua{sv}", code, 2, "hint", "i", 1, "uri", "s", uri.c_str());
  }
  sd_bus_message_set_sender(signal, ":1.9");
  sd_bus_send(bus, signal, nullptr);
}

// Reads the options of a call: the value of that name.
template <typename Value>
void ReadOption(sd_bus_message* call, const char* wanted, char type, Value* value) {
  ReadDictionary(Message(sd_bus_message_ref(call)),
                 [&](const std::string& name, const std::string&) {
                   return name == wanted && sd_bus_message_read_basic(call, type, value) > 0;
                 });
}

int TakeScreenshot(sd_bus* bus, sd_bus_message* call) {
  ++script->asked;
  const char* token = "";
  sd_bus_message_skip(call, "s");
  ReadOption(call, "handle_token", 's', &token);
  const std::string path = std::string("/org/freedesktop/portal/desktop/request/1_7/") + token;
  if (Does(Deed::kNeverAnswers)) return 1;
  if (Does(Deed::kNamesNoRequest)) return sd_bus_reply_method_return(call, "s", "soon");
  if (Does(Deed::kRefuses)) {
    return sd_bus_reply_method_errorf(call, "org.example.No", "no\n\x1B[2J \xE2\x80\xAEyas");
  }
  if (Does(Deed::kRespondsTwice)) Respond(bus, path, 1), Respond(bus, path, 0);
  sd_bus_reply_method_return(call, "o", path.c_str());
  if (Does(Deed::kNeverResponds)) return 1;
  Respond(bus, path, role.code);
  return 1;
}

void WritePixels(int pipe, int left, int top, uint32_t width, uint32_t height) {
  std::vector<uint32_t> pixels;
  for (uint32_t i = 0; i < (width + 1) * height; ++i) {  // a pixel more to the stride
    pixels.push_back(
        ColorAt(left + static_cast<int>(i % (width + 1)), top + static_cast<int>(i / (width + 1))));
  }
  const char* bytes = reinterpret_cast<const char*>(pixels.data());
  size_t bytesLeft = pixels.size() * 4 - (Does(Deed::kStopsEarly) ? 1 : 0);
  const size_t step = Does(Deed::kDrips) ? 1 : bytesLeft;
  for (; bytesLeft > 0 && write(pipe, bytes, step) > 0; bytesLeft -= step, bytes += step) {
    if (step == 1) usleep(100'000);
  }
}

int CaptureByKWin(sd_bus_message* call, bool isArea) {
  int left = 0, top = 0, pipe = -1;
  uint32_t width = 61, height = kHeight;
  if (isArea) {
    sd_bus_message_read(call, "iiuu", &left, &top, &width, &height);
  } else {
    sd_bus_message_skip(call, "s");
  }
  script->hides = -1;
  int hides = -1;
  ReadOption(call, "hide-caller-windows", 'b', &hides);
  script->hides = hides;
  sd_bus_message_read(call, "h", &pipe);
  isProbed = width == 1;
  const uint32_t stated = Does(Deed::kStatesOtherSize) ? 30'000 : width;
  const uint32_t stride = Does(Deed::kStatesStride) ? role.code : (stated + 1) * 4;
  if (Does(Deed::kStatesWords)) {
    return sd_bus_reply_method_return(call, "a{sv}", 1, "width", "s", "wide");
  }
  sd_bus_reply_method_return(call, "a{sv}", 4, "format", "u", 4, "width", "u", stated, "height",
                             "u", height, "stride", "u", stride);
  WritePixels(pipe, left, top, width, height);
  return 1;
}

int Get(sd_bus_message* call) {
  const char* interface = "";
  sd_bus_message_read(call, "s", &interface);
  const bool isPortal = std::string_view(interface).find("portal") != std::string_view::npos;
  const uint32_t version = isPortal ? 4 : script->version.load();
  if (version == 0) return sd_bus_reply_method_errorf(call, "org.example.No", "%s", "");
  return sd_bus_reply_method_return(call, "v", "u", version);
}

int Handle(sd_bus_message* message, void*, sd_bus_error*) {
  const char* const member = sd_bus_message_get_member(message);
  if (member == nullptr) return 0;
  const std::string name = member;
  if (name == "Hello") return sd_bus_reply_method_return(message, "s", ":1.7");
  if (Does(Deed::kHangsUp)) _exit(0);
  if (Does(Deed::kOnlyGreets)) return 1;
  if (name == "Get") return Get(message);
  if (name == "Screenshot") return TakeScreenshot(sd_bus_message_get_bus(message), message);
  if (name == "Close") return static_cast<int>(++script->closed);
  if (name.starts_with("Capture")) return CaptureByKWin(message, name == "CaptureArea");
  return sd_bus_reply_method_return(message, "");
}

int Serve(int listener) {
  signal(SIGPIPE, SIG_IGN);
  for (;;) {
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (Does(Deed::kNeverGreets)) continue;
    sd_bus* bus = nullptr;
    sd_bus_new(&bus);
    sd_bus_set_fd(bus, connection, connection);
    sd_bus_set_server(bus, 1, {.qwords = {1, 1}});
    sd_bus_add_filter(bus, nullptr, Handle, nullptr);
    sd_bus_start(bus);
    for (int result = 0; result >= 0;) {
      result = sd_bus_process(bus, nullptr);
      if (result == 0) result = sd_bus_wait(bus, UINT64_MAX);
    }
    sd_bus_close_unref(bus);
  }
}

// --- The test's process ---

// The session bus while it lives.
class Peer : public testing::Server {
 public:
  explicit Peer(const Role& its)
      : address_("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + folder_.File("bus")).c_str()) {
    std::string pixels = "P6 " + std::to_string(its.width) + " 40 255\n";
    for (int i = 0; i < its.width * kHeight; ++i) {
      for (const int sample : {7, i / its.width, i % its.width})
        pixels += static_cast<char>(sample);
    }
    folder_.Write("shot.png", pixels);
    const std::string file = folder_.File("shot.png");
    if (its.width > 0) testing::RunProgram({"convert", "ppm:" + file, "PNG24:" + file});
    role = its;
    session_bus::script = script_.get();
    folder = folder_.path();
    const UniqueFd listener(testing::ListenAt(folder_.File("bus")));
    pid_ = testing::Fork([&] { return Serve(listener.get()); });
  }
  ~Peer() { Kill(); }

  Script& script() { return *script_; }
  bool HasPicture() const { return std::filesystem::exists(folder_.File("shot.png")); }

 private:
  const testing::ScratchFolder folder_;
  const testing::ScopedVariable address_;
  const testing::Shared<Script> script_;
};

constexpr auto kBudget = 600ms, kPatience = 900ms;
constexpr char kNonsense[] = "the portal's answer makes no sense";
constexpr char kNo[] = "the portal's question was answered with no";
constexpr char kSilence[] = "org.freedesktop.portal.Desktop does not answer on the session bus";

// A capture that must be right, or fail so.
struct Row {
  Role role;
  Reason reason = Reason::kNone;
  std::string problem = {};
  bool isClosed = false;  // the request, before its response
};

Clock::duration personTime;

std::unique_ptr<wayland::Backend> OpenTestedPortal(const wayland::PlacedOutput&, Deadline end) {
  return OpenPortalBackend(
      {[](const char*) {}, [](int64_t time) { personTime += std::chrono::nanoseconds(time); }},
      kPatience, end);
}

void ExpectOutcome(const Row& row, decltype(&OpenKWinBackend) open) {
  SCOPED_TRACE("deed " + std::to_string(static_cast<int>(row.role.deed)) + ": " + row.problem);
  wayland::PlacedOutput output;  // the left one of two
  output.display = {1, {0, 0, 61, kHeight}, 0, 0, 61, kHeight, 32, 8, 3, 32, "TEST-1"};
  output.logical = {0, 0, 61, kHeight};
  output.desktop = {{0, 0, 122, kHeight}};
  Peer peer(row.role);
  const auto start = Clock::now();
  std::pair<Reason, std::string> failure;
  personTime = {};
  try {
    const Frame frame =
        open(output, Clock::now() + kBudget)
            ->Capture(output, {3, 2, 50, 30}, Pointer::kHidden, Clock::now() + kBudget);
    EXPECT_EQ(TestedDesktop::CountOther(frame, [](int x, int y) { return ColorAt(x + 3, y + 2); }),
              0);
  } catch (const Error& error) {
    failure = {error.reason(), error.what()};
  }
  EXPECT_LT(Clock::now() - start - personTime, 2 * kBudget + 300ms);
  EXPECT_EQ(personTime >= kPatience, row.role.deed == Deed::kNeverResponds);
  EXPECT_EQ(failure, std::pair(row.reason, row.problem));
  EXPECT_EQ(peer.HasPicture(), row.reason != Reason::kNone || peer.script().asked == 0);
  for (int i = 0; i < 100 && row.isClosed && peer.script().closed == 0; ++i) usleep(10'000);
  EXPECT_EQ(peer.script().closed, row.isClosed ? 1U : 0U);
}

TEST(Portal, IsRightOrNilInTimeWhateverItDoes) {
  const auto kNotKnown = Reason::kUnsupported;
  for (const Row& row : std::initializer_list<Row>{
           {{Deed::kBehaves}},
           {{Deed::kBehaves, 1}, Reason::kRefused, kNo},
           {{Deed::kBehaves, 2}, Reason::kRefused, "the portal could not take a picture"},
           {{Deed::kBehaves, 0, 61},
            kNotKnown,
            "the portal's picture of 61 x 40 pixels does not show this desktop of 122 x 40 units"},
           {{Deed::kBehaves, 0, 0}, kNotKnown, "the portal's picture can't be read"},
           {{Deed::kNeverGreets}, Reason::kTimeout, "the session bus does not answer"},
           {{Deed::kOnlyGreets}, Reason::kTimeout, kSilence},
           {{Deed::kHangsUp}, Reason::kUnreachable, "the session bus closed the connection"},
           {{Deed::kNeverAnswers}, Reason::kTimeout, kSilence, true},
           {{Deed::kRefuses}, Reason::kRefused, "no  [2J yas", true},
           {{Deed::kNamesNoRequest}, kNotKnown, kNonsense, true},
           {{Deed::kNeverResponds},
            Reason::kRefused,
            "the portal's question was not answered in time",
            true},
           {{Deed::kRespondsTwice}, Reason::kRefused, kNo},
           {{Deed::kRespondsInWords}, kNotKnown, kNonsense},
           {{Deed::kNamesNoFile}, kNotKnown, "the portal names no local file"},
           {{Deed::kNamesEndlessFile},
            kNotKnown,
            "the portal names no picture of this user's own"}}) {
    ExpectOutcome(row, OpenTestedPortal);
  }
}

TEST(KWin, IsRightOrNilInTimeWhateverItDoes) {
  const std::string other = "the display has changed since it was listed";
  const std::string unknown = "KWin sends pixels in a format that is not known here";
  for (const Row& row : std::initializer_list<Row>{
           {{Deed::kBehaves}},
           {{Deed::kNeverGreets}, Reason::kTimeout, "the session bus does not answer"},
           {{Deed::kDrips}, Reason::kTimeout, "KWin does not send the pixels in time"},
           {{Deed::kStopsEarly}, Reason::kUnsupported, "KWin sends fewer pixels than it said"},
           {{Deed::kStatesOtherSize}, Reason::kDisplayChanged, other},
           {{Deed::kStatesStride, 0x40000000}, Reason::kUnsupported, unknown},
           {{Deed::kStatesStride, 196}, Reason::kUnsupported, unknown},  // less than a row
           {{Deed::kStatesStride, 202}, Reason::kUnsupported, unknown},
           {{Deed::kStatesWords}, Reason::kDisplayChanged, other}}) {
    ExpectOutcome(row, OpenKWinBackend);
  }
}

TEST(KWin, IsToldToShowTheCallersWindowsWhereItWouldHideThem) {
  Peer peer({});
  for (const uint32_t version : {0, 4, 5, 6}) {
    peer.script().version = version;
    OpenKWinBackend({}, Clock::now() + 5s);
    EXPECT_EQ(peer.script().hides, version >= 5 ? 0 : -1) << version;
  }
}

// As the plug-in's strategies do: each lists the displays and captures them until one fails.
void ExpectOneQuestion(const Row& row) {
  SCOPED_TRACE(row.problem);
  constexpr int kDisplays = 8;
  testing::CompositorSetup setup;
  setup.outputs.clear();
  for (int i = 0; i < kDisplays; ++i) {
    setup.outputs.push_back({"", 20, kHeight, 0, 1, i * 20, 0, 20, kHeight});
  }
  const testing::Compositor compositor(setup);
  const testing::ScopedVariable chosen("QRV_DESKTOP", ("portal:" + compositor.path()).c_str());
  Peer peer(row.role);
  const auto start = Clock::now();
  for (int strategy = 0; strategy < 3 && (strategy == 0 || HasCaptureFailed()); ++strategy) {
    const std::vector<Display>* const displays = RefreshDisplays();
    for (size_t i = 0; displays != nullptr && i < displays->size(); ++i) {
      const Frame frame = Capture(displays->at(i), {1, 2, 18, 30}, Strategy::kDisplayImage);
      EXPECT_EQ(TestedDesktop::CountOther(
                    frame,
                    [=](int x, int y) { return ColorAt(x + 1 + static_cast<int>(i) * 20, y + 2); }),
                row.reason == Reason::kNone ? 0 : -1);
    }
    EXPECT_EQ(CurrentStatus().failure, row.reason);
    EXPECT_EQ(CurrentStatus().message, row.problem);
  }
  EXPECT_LT(Clock::now() - start, 5s);
  EXPECT_EQ(peer.script().asked, row.role.deed == Deed::kNeverGreets ? 0U : 1U);
  if (row.reason == Reason::kNone) {
    EXPECT_FALSE(Capture(LatestDisplays()->front(), {0, 0, 1, 1}, Strategy::kDisplayImage))
        << "its picture has served, and is deleted";
    EXPECT_EQ(peer.script().asked, 2U);
  }
  std::this_thread::sleep_for(1s);  // a no is forgotten
  Peer other({Deed::kBehaves, 0, kDisplays * 20});
  ASSERT_NE(RefreshDisplays(), nullptr);
  EXPECT_TRUE(FrameBuffer(LatestDisplays()->front()));
  EXPECT_EQ(other.script().asked, 1U) << "another capture is another picture";
}

TEST(Portal, AsksOnceForTheDisplaysAndStrategiesOfACapture) {
  ExpectOneQuestion({{Deed::kBehaves, 0, 160}});
  ExpectOneQuestion({{Deed::kBehaves, 1, 160}, Reason::kRefused, kNo});
  ExpectOneQuestion({{Deed::kRespondsInWords, 0, 160}, Reason::kUnsupported, kNonsense});
}

TEST(Portal, KeepsToTheTimeOfACallWithAllItsStrategies) {
  ExpectOneQuestion({{Deed::kNeverAnswers}, Reason::kTimeout, kSilence});
  ExpectOneQuestion({{Deed::kNeverGreets},
                     Reason::kTimeout,
                     "there is no way to the compositor's pixels (the portal: the session bus does "
                     "not answer)"});
}

}  // namespace
}  // namespace qrv::desktop::session_bus
