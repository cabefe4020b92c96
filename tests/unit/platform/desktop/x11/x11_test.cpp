#include "platform/desktop/x11/desktop.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "platform/desktop/peer/signals.h"
#include "platform/desktop/peer/socket.h"
#include "platform/desktop/x11/address.h"
#include "platform/desktop/x11/screen.h"
#include "tests/support/holdings.h"
#include "tests/support/process.h"
#include "tests/support/xvfb.h"
#include "tests/unit/platform/desktop/tested_desktop.h"

namespace qrv::desktop {
namespace {

using Arguments = std::vector<std::string>;

// A server, and the desktop that captures it.
struct Screen : TestedDesktop {
  explicit Screen(const char* screen = "320x200x24", Arguments arguments = {})
      : server(screen, std::move(arguments)) {
    desktop = OpenX11Desktop(server.display());
    List();
  }

  Frame CaptureWhole(size_t index = 0) { return Capture(Whole(index), index); }
  void Fill(uint32_t seed) {
    server.FillRandom(seed);
    seen = server.ImportScreen();
  }
  // How many pixels of a frame differ from the screen that was seen, the frame's corner being at
  // (left, top).
  int CountWrongPixels(const Frame& frame, int left = 0, int top = 0) const {
    return CountOther(frame, [&](int x, int y) {
      const uint8_t* rgb = seen.pixels.data() + ((top + y) * seen.width + left + x) * 3;
      return static_cast<uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
    });
  }

  testing::Xvfb server;
  testing::RgbImage seen;  // by another program
};

// Monitors of different places and sizes on a screen of 800 x 600 pixels.
testing::Area AreaOfMonitor(int index) {
  return {index % 8 * 100, index / 8 * 100, 20 + index, 60 - index};
}

TEST(X11Desktop, FollowsFortyMonitorsThatComeAndGoAndKeepTheirIdentifiers) {
  Screen screen("800x600x24");
  screen.Fill(3);
  std::map<uint32_t, int> monitors;  // by identifier
  for (const auto& [count, primary] : {std::pair(40, 0), std::pair(1, 0), std::pair(40, 11)}) {
    const auto name = [](int index) { return "m" + std::to_string(index); };
    for (int i = 0; i < count; ++i) {
      screen.server.SetMonitor((i == primary ? "*" : "") + name(i), AreaOfMonitor(i),
                               i == 0 ? "screen" : "none");
    }
    ASSERT_EQ(screen.List(), static_cast<size_t>(count)) << screen.problem;
    const testing::Area main = AreaOfMonitor(primary);
    for (int i = 0; i < count; ++i) {
      const int monitor = i == 0 ? primary : i <= primary ? i - 1 : i;  // the main one comes first
      const auto [x, y, width, height] = AreaOfMonitor(monitor);
      const auto index = static_cast<size_t>(i);
      const Display& display = screen.displays[index];
      EXPECT_EQ(monitors.emplace(display.id, monitor).first->second, monitor);
      EXPECT_EQ(display.bounds, (PixelRect{x - main.left, y - main.top, width, height}));
      EXPECT_EQ(screen.CountWrongPixels(screen.CaptureWhole(index), x, y), 0) << monitor;
    }
    for (int i = 0; i < count; ++i) screen.server.Run({"xrandr", "--delmonitor", name(i)});
  }
  EXPECT_EQ(monitors.size(), 40U);
}

TEST(X11Desktop, HasNoPixelsOfADisplayThatShrank) {
  Screen screen("800x600x24");
  ASSERT_TRUE(screen.CaptureWhole());
  screen.server.Run({"xrandr", "--newmode", "small", "25", "640", "656", "752", "800", "480", "490",
                     "492", "525"});
  screen.server.Run({"xrandr", "--addmode", "screen", "small"});
  screen.server.Run({"xrandr", "--output", "screen", "--mode", "small"});
  EXPECT_FALSE(screen.CaptureWhole());
  EXPECT_EQ(screen.reason, Reason::kDisplayChanged);
  ASSERT_EQ(screen.List(), 1U);
  EXPECT_TRUE(screen.CaptureWhole()) << screen.problem;
}

// A pointer of 8 x 8 pixels, yellow and blue in turns but for its last row, which is transparent.
TEST(X11Desktop, ShowsThePointerWhereItIs) {
  Screen screen;
  screen.Fill(7);
  const testing::ScratchFolder folder;
  const std::string size =
      "#define b_width 8\n#define b_height 8\n#define b_x_hot 2\n"
      "#define b_y_hot 3\nstatic char b_bits[] = {\n";
  folder.Write("source", size + "0x55,0x55,0x55,0x55,0x55,0x55,0x55,0x55};\n");
  folder.Write("mask", size + "0xff,0xff,0xff,0xff,0xff,0xff,0xff,0};\n");
  screen.server.Run({"xsetroot", "-fg", "yellow", "-bg", "blue", "-cursor", folder.File("source"),
                     folder.File("mask")});
  xcb_connection_t* const xcb = xcb_connect(screen.server.display().c_str(), nullptr);
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(xcb)).data->root;
  for (const auto& [x, y] : {std::pair(100, 50), {0, 0}, {319, 199}, {40, 60}, {44, 61}}) {
    xcb_warp_pointer(xcb, XCB_NONE, root, 0, 0, 0, 0, static_cast<int16_t>(x),
                     static_cast<int16_t>(y));
    std::free(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
    const auto shown = [&, x = x - 2, y = y - 3](int atX, int atY) {
      const bool isPointer = atX >= x && atX < x + 8 && atY >= y && atY < y + 7;
      if (isPointer) return (atX - x) % 2 == 0 ? 0xFFFF00U : 0x0000FFU;
      const uint8_t* rgb = screen.seen.pixels.data() + (atY * screen.seen.width + atX) * 3;
      return static_cast<uint32_t>(rgb[0] << 16 | rgb[1] << 8 | rgb[2]);
    };
    for (const PixelRect& region : {screen.Whole(), PixelRect{42, 10, 250, 51}}) {
      EXPECT_EQ(screen.CountOther(
                    screen.Capture(region, 0, Pointer::kShown),
                    [&](int column, int row) { return shown(region.x + column, region.y + row); }),
                0)
          << x << "," << y << " from " << region.x;
    }
  }
  xcb_disconnect(xcb);
  EXPECT_EQ(screen.CountWrongPixels(screen.CaptureWhole()), 0);
}

TEST(X11Desktop, LeavesAHeldFrameUnchangedWhateverBecomesOfTheServer) {
  Screen screen;
  screen.Fill(5);
  const testing::RgbImage before = screen.seen;
  const Frame held = screen.CaptureWhole();
  screen.Fill(6);
  EXPECT_EQ(screen.CountWrongPixels(screen.CaptureWhole()), 0);
  screen.server.Kill();
  EXPECT_FALSE(screen.CaptureWhole());
  screen.server.Restart();
  EXPECT_FALSE(screen.CaptureWhole()) << "of another server than listed the display";
  EXPECT_EQ(screen.reason, Reason::kUnreachable);
  screen.desktop.reset();
  screen.seen = before;
  EXPECT_EQ(screen.CountWrongPixels(held), 0);
}

// A server that lets in only who knows the cookie of an authority file.
TEST(GuardedServer, ReportsWhyItRefusesAndNoPipeOfAnAuthorityFileIsAwaited) {
  const testing::ScratchFolder folder;
  const std::string file = folder.File("authority");
  const auto addCookie = [&](const std::string& display) {
    testing::RunProgram(
        {"xauth", "-f", file, "add", display, ".", "00112233445566778899aabbccddeeff"});
  };
  addCookie(":0");
  const testing::Xvfb server("320x200x24", {"-auth", file});
  addCookie(server.display());
  const std::string pipe = folder.File("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  TestedDesktop tested;
  tested.desktop = OpenX11Desktop(server.display());
  const std::string large = folder.File("large");
  std::filesystem::copy_file(file, large);
  std::filesystem::resize_file(large, 2 << 20);
  for (const char* none : {"/nonexistent", "/dev/zero", pipe.c_str(), large.c_str()}) {
    const testing::ScopedVariable authority("XAUTHORITY", none);
    EXPECT_EQ(tested.List(), 0U);
    EXPECT_EQ(tested.reason, Reason::kRefused);
    EXPECT_NE(tested.problem.find("refuses the connection: "), std::string::npos);
  }
  const testing::ScopedVariable authority("XAUTHORITY", file.c_str());
  EXPECT_EQ(tested.List(), 1U) << tested.problem;
}

// A message of zeros, but for 16-bit numbers, each after its offset.
std::string Message(size_t bytes, const std::vector<int>& numbers) {
  std::string message(bytes, '\0');
  for (size_t i = 0; i < numbers.size(); i += 2) {
    std::memcpy(&message[static_cast<size_t>(numbers[i])], &numbers[i + 1], 2);
  }
  return message;
}

// What a server answers that has a screen of 4 x 4 pixels with a colour map, and a monitor "ab".
std::vector<std::string> HonestAnswers() {
  return {Message(124, {0, 1,  6,     29, 24, 4,  28, 0x101, 44, 0x808, 46,    32,  84,
                        1, 90, 0x108, 92, 8,  94, 1,  100,   1,  104,   0x803, 106, 256}),
          Message(32, {0, 1, 2, 1, 8, 0x8001}),  // RandR is there, MIT-SHM is not
          Message(32, {0, 1, 2, 2}),
          Message(32, {0, 1, 2, 3, 8, 1, 12, 5}),
          Message(60, {0, 1, 2, 4, 4, 7, 12, 1, 32, 9, 38, 1, 44, 4, 46, 4}),
          Message(32, {0, 1, 2, 5, 16, 4, 18, 4}),
          Message(36, {0, 1, 2, 6, 4, 1, 8, 2, 32, 'a' | 'b' << 8}),
          Message(32 + 8 * 256, {0, 1, 2, 7, 4, 2 * 256, 8, 256}),
          Message(32 + 16, {0, 1, 2, 8, 4, 4})};
}

// Whether the desktop is captured while one client of the listener is answered so, each time with a
// descriptor. The authority is what that client has sent to be let in.
bool IsCaptured(TestedDesktop& tested, int listener, const std::vector<std::string>& answers,
                std::string& authority) {
  std::thread server([&] {
    const UniqueFd client(accept(listener, nullptr, nullptr));
    uint8_t request[2048];
    const auto receive = [&](size_t bytes) {
      return recv(client.get(), request, std::min(bytes, sizeof request), MSG_WAITALL);
    };
    receive(12);
    const size_t bytes = (request[6] + 3) / 4 * 4U + request[8];
    if (bytes > 0) authority.assign(request, request + receive(bytes));
    for (const std::string& answer : answers) {
      if (&answer != &answers.front()) {
        if (receive(4) != 4) return;
        receive((request[2] | request[3] << 8) * 4U - 4);
      }
      SendSome(client.get(), std::as_bytes(std::span(answer)), client.get());
    }
    receive(1);  // until the client goes
  });
  const bool isCaptured = tested.List() == 1 && tested.Capture({0, 0, 4, 4});
  tested.desktop.reset();
  server.join();
  return isCaptured;
}

TEST(LyingServer, IsFoundOutByWhateverItStates) {
  const struct {
    const char* what;
    size_t answer, offset;
    uint8_t value;
  } lies[] = {{"nothing", 0, 2, 0},       {"vendor's length", 0, 25, 1}, {"formats", 0, 29, 9},
              {"depths", 0, 91, 2},       {"visuals", 0, 95, 1},         {"monitors", 4, 15, 255},
              {"one monitor", 4, 12, 2},  {"outputs", 4, 38, 2},         {"endless", 4, 7, 255},
              {"later request", 4, 2, 9}, {"no width", 5, 16, 0},        {"name", 6, 8, 5},
              {"colours", 7, 5, 1},       {"pixels", 8, 4, 3},           {"stops", 8, 4, 4}};
  const testing::ScratchFolder folder;
  const testing::ScopedVariable noAuthority("XAUTHORITY", "/nonexistent");
  for (const auto& lie : lies) {
    SCOPED_TRACE(lie.what);
    const std::string path = folder.File(lie.what);
    const UniqueFd listener(testing::ListenAt(path));
    const auto files = testing::Holdings().files;
    std::vector<std::string> answers = HonestAnswers();
    answers[lie.answer][lie.offset] = static_cast<char>(lie.value);
    const bool stops = &lie == std::end(lies) - 1;  // in the middle of the pixels
    if (stops) answers.back().resize(40);
    TestedDesktop tested = {OpenX11Desktop(path)};
    const auto start = Clock::now();
    std::string authority;
    EXPECT_EQ(IsCaptured(tested, listener.get(), answers, authority), &lie == lies);
    EXPECT_EQ(tested.problem, &lie == lies ? ""
                              : stops      ? "X server " + path + " does not answer"
                                           : "the X server violates the X protocol");
    EXPECT_LT(Clock::now() - start, 2 * TestedDesktop::kTimeout);
    EXPECT_EQ(authority, "");
    EXPECT_EQ(testing::Holdings().files, files);
  }
}

// A listener at the second of the addresses that the name has, where there are two. It would take
// shared memory.
TEST(RemoteServer, IsReachedAtItsPortWithItsCookieAndSentNoDescriptor) {
  const UniqueFd listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
  socklen_t length = sizeof address;
  auto* const any = reinterpret_cast<sockaddr*>(&address);
  ASSERT_EQ(bind(listener.get(), any, length) + listen(listener.get(), 1), 0);
  ASSERT_EQ(getsockname(listener.get(), any, &length), 0);
  const std::string display = ":" + std::to_string(ntohs(address.sin_port) - 6000);
  const testing::ScratchFolder folder;
  const std::string file = folder.File("authority");
  for (const std::string& each : {std::string(":0"), display}) {
    testing::RunProgram(
        {"xauth", "-f", file, "add", each, ".", each == display ? "6b657920" : "00"});
  }
  const testing::ScopedVariable variable("XAUTHORITY", file.c_str());
  std::vector<std::string> answers = HonestAnswers();
  answers[2][8] = answers[2][9] = 1;
  TestedDesktop tested = {OpenX11Desktop("localhost" + display)};
  std::string authority;
  EXPECT_TRUE(IsCaptured(tested, listener.get(), answers, authority)) << tested.problem;
  EXPECT_TRUE(authority.starts_with("MIT-MAGIC-COOKIE-1") && authority.ends_with("key "));
}

TEST(X11DisplayName, IsAHostANumberAndAScreenOrAPath) {
  for (const char* name : {":0", ":0.1", "host:10.0", "unix:0", "[::1]:0", "::1:0", "/path:0"}) {
    EXPECT_TRUE(x11::ParseDisplayName(name)) << name;
  }
  for (const char* text : {"", ":", "host", ":x", ":-1", ":0.", ":0.x", ":0.0.0", ":59536",
                           ":18446744073709551616", "a/b:0"}) {
    EXPECT_FALSE(x11::ParseDisplayName(text)) << text;
  }
  const auto address = x11::ParseDisplayName("[::1]:2.3");
  EXPECT_EQ(std::tuple(address->host, address->number, address->screen), std::tuple("::1", 2, 3));
  EXPECT_EQ(x11::ParseDisplayName("unix:/path:0.1")->path, "/path:0");
}

TEST(X11Desktop, LeavesTheConnectionToTheProcessThatOpenedIt) {
  Screen screen;
  const pid_t child = testing::Fork([&] {
    const bool isInherited = !screen.CaptureWhole();
    return isInherited && screen.List() == 1 && screen.CaptureWhole() ? 0 : 1;
  });
  EXPECT_EQ(testing::WaitForEnd(child), 0);
  const auto files = testing::Holdings().files;
  EXPECT_TRUE(screen.CaptureWhole()) << screen.problem;
  EXPECT_EQ(testing::Holdings().files, files);  // no second connection
}

TEST(X11Geometry, CutsMonitorsToTheRootWindow) {
  const auto displays = x11::PlaceMonitors({{5, false, {-10, -20, 100, 100}},
                                            {6, false, {500, 0, 50, 50}},
                                            {7, true, {350, 250, 100, 100}}},
                                           400, 300, PixelFormat());
  ASSERT_EQ(displays.size(), 2U);
  EXPECT_EQ(displays[0].display.id, 7U);
  EXPECT_EQ(displays[0].display.bounds, (PixelRect{0, 0, 50, 50}));
  EXPECT_EQ(displays[0].area, (PixelRect{350, 250, 50, 50}));
  EXPECT_EQ(displays[1].display.bounds, (PixelRect{-350, -250, 90, 80}));
  EXPECT_EQ(displays[1].display.pixelWidth, 90);
}

bool IsPending() {
  sigset_t pending;
  return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

TEST(SigpipeGuard, TakesBackASignalRaisedMeanwhileAndLeavesOneThatWasPendingBefore) {
  {
    const SigpipeGuard guard;
    raise(SIGPIPE);  // ends the process if it gets through
  }
  EXPECT_FALSE(IsPending());
  sigset_t sigpipe = {};
  sigaddset(&sigpipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
  raise(SIGPIPE);
  { const SigpipeGuard guard; }
  EXPECT_TRUE(IsPending());
}

}  // namespace
}  // namespace qrv::desktop
