#include "platform/desktop/x11/desktop.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "platform/desktop/peer/signals.h"
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

// The second time with other pixels and another colour map. Those of depth 24 that are laid out as
// a frame's are held against other programs by whoever captures them.
TEST(X11Desktop, LooksAsToOtherProgramsAtEveryDepth) {
  const std::tuple<const char*, Arguments, std::tuple<int, int, int, int>> cases[] = {
      {"803x601x30", {}, {30, 10, 3, 32}},
      {"803x601x16", {}, {16, 5, 3, 16}},
      {"803x601x8", {}, {8, 8, 1, 8}},
      {"803x601x24", {"-cc", "5"}, {32, 8, 3, 32}}};
  for (size_t i = 0; i < 2 * std::size(cases); ++i) {
    auto [size, arguments, numbers] = cases[i / 2];
    if (i % 2 == 1) arguments.insert(arguments.end(), {"-extension", "MIT-SHM"});
    SCOPED_TRACE(size + ::testing::PrintToString(arguments));
    Screen screen(size, arguments);
    ASSERT_EQ(screen.displays.size(), 1U) << screen.problem;
    for (const uint32_t seed : {1U, 2U}) {
      screen.Fill(seed);
      EXPECT_EQ(screen.CountWrongPixels(screen.CaptureWhole()), 0);
      EXPECT_EQ(screen.CountWrongPixels(screen.Capture({101, 33, 77, 51}), 101, 33), 0);
    }
    const Display& display = screen.displays[0];
    EXPECT_EQ(std::tuple(display.bitsPerPixel, display.bitsPerSample, display.samplesPerPixel,
                         display.quickDrawPixelSize),
              numbers);
  }
}

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

// The server stops while it delivers a large image, after a quarter, half and three quarters of
// the time that this takes. A stop that comes late lets the capture end; not every one does.
TEST(X11Desktop, FailsInTimeWhenItsServerStopsInTheMiddle) {
  Screen screen("4096x4096x24", {"-extension", "MIT-SHM"});
  auto start = Clock::now();
  ASSERT_TRUE(screen.CaptureWhole());
  const std::chrono::duration<double, std::micro> whole = Clock::now() - start;
  int stopped = 0;
  for (const double part : {0.25, 0.5, 0.75}) {
    const pid_t stopper = testing::Fork([&] {
      usleep(static_cast<useconds_t>(whole.count() * part));
      return kill(screen.server.pid(), SIGSTOP);
    });
    start = Clock::now();
    if (!screen.CaptureWhole()) {
      ++stopped;
      EXPECT_EQ(screen.problem, "X server " + screen.server.display() + " does not answer");
    }
    EXPECT_LT(Clock::now() - start, 2 * Screen::kTimeout);
    testing::WaitForEnd(stopper);
    screen.server.Continue();
    screen.List();
    EXPECT_TRUE(screen.CaptureWhole()) << screen.problem;
  }
  EXPECT_GE(stopped, 1);
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
  for (const char* none : {"/nonexistent", "/dev/zero", pipe.c_str()}) {
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

// Answers one client's handshake and its requests.
void Answer(int listener, const std::vector<std::string>& answers) {
  const UniqueFd client(accept(listener, nullptr, nullptr));
  uint8_t request[2048];
  size_t rest = 8;  // of a handshake, after the first four bytes
  for (const std::string& answer : answers) {
    if (recv(client.get(), request, 4, MSG_WAITALL) != 4) return;
    if (&answer != &answers.front()) rest = (request[2] | request[3] << 8) * 4U - 4;
    recv(client.get(), request, std::min(rest, sizeof request), MSG_WAITALL);
    send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
  }
}

TEST(LyingServer, IsFoundOutByWhateverItStates) {
  const struct {
    const char* what;
    size_t answer, offset;
    uint8_t value;
  } lies[] = {{"nothing", 0, 2, 0},      {"vendor's length", 0, 25, 1},
              {"formats", 0, 29, 9},     {"depths", 0, 91, 2},
              {"visuals", 0, 95, 1},     {"monitors", 4, 15, 255},
              {"one monitor", 4, 12, 2}, {"outputs", 4, 38, 2},
              {"endless", 4, 7, 255},    {"later request", 4, 2, 9},
              {"no width", 5, 16, 0},    {"name", 6, 8, 5},
              {"colours", 7, 5, 1},      {"pixels", 8, 4, 3}};
  const testing::ScratchFolder folder;
  const testing::ScopedVariable noAuthority("XAUTHORITY", "/nonexistent");
  for (const auto& lie : lies) {
    SCOPED_TRACE(lie.what);
    const std::string path = folder.File(lie.what);
    const UniqueFd listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {AF_UNIX, ""};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener.get(), 1), 0);
    std::vector<std::string> answers = HonestAnswers();
    answers[lie.answer][lie.offset] = static_cast<char>(lie.value);
    std::thread server([&] { Answer(listener.get(), answers); });
    TestedDesktop tested;
    tested.desktop = OpenX11Desktop(path);
    const bool isCaptured = tested.List() == 1 && tested.Capture({0, 0, 4, 4});
    EXPECT_EQ(tested.problem, &lie == lies ? "" : "the X server violates the X protocol");
    EXPECT_EQ(isCaptured, &lie == lies);
    tested.desktop.reset();
    server.join();
  }
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
