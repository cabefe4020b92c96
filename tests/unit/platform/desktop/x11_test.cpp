#include "platform/desktop/x11/desktop.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/desktop/signals.h"
#include "platform/desktop/x11/screen.h"
#include "tests/support/xvfb.h"

namespace qrv::desktop {
namespace {

using ::qrv::testing::RgbImage;
using ::qrv::testing::ScopedVariable;
using ::qrv::testing::Xvfb;
using std::chrono::steady_clock;

const std::vector<std::string> kNoShm = {"-extension", "MIT-SHM"};

// A server, and the desktop that captures it.
struct Screen {
  explicit Screen(const char* screen = "320x200x24", std::vector<std::string> arguments = {})
      : server(screen, std::move(arguments)), desktop(OpenX11Desktop(server.display())) {
    List();
  }

  size_t List() {
    if (!desktop->ListDisplays(displays)) displays.clear();
    return displays.size();
  }
  Frame Capture(const Display& display, const PixelRect& part) {
    return desktop->Capture(display, part, isGone);
  }
  Frame CaptureWhole(size_t index = 0) {
    const Display& display = displays.at(index);
    return Capture(display, {0, 0, display.pixelWidth, display.pixelHeight});
  }

  Xvfb server;
  std::unique_ptr<Desktop> desktop;
  std::vector<Display> displays;
  bool isGone = false;
};

// How many pixels of a frame differ from the imported screen, the frame's corner being at (x, y).
int CountWrongPixels(const Frame& frame, const RgbImage& screen, int left, int top) {
  if (!frame) return -1;
  int wrong = 0;
  for (int32_t y = 0; y < frame.height; ++y) {
    const uint8_t* pixel = frame.pixels + static_cast<size_t>(y) * frame.rowBytes;
    const uint8_t* expected = screen.pixels.data() + ((top + y) * screen.width + left) * 3;
    for (int32_t x = 0; x < frame.width; ++x, pixel += 4, expected += 3) {
      if (pixel[0] != expected[2] || pixel[1] != expected[1] || pixel[2] != expected[0]) ++wrong;
    }
  }
  return wrong;
}

// The second time with other pixels and another colour map. Those of depth 24 that are laid out as
// a frame's are held against other programs by whoever captures them.
TEST(X11Desktop, LooksAsToOtherProgramsAtEveryDepth) {
  struct {
    const char* screen;
    std::vector<std::string> arguments;
    int bitsPerPixel, bitsPerSample, samplesPerPixel, quickDrawPixelSize;
  } const cases[] = {
      {"803x601x30", {}, 30, 10, 3, 32},     {"803x601x16", {}, 16, 5, 3, 16},
      {"803x601x8", {}, 8, 8, 1, 8},         {"803x601x24", {"-cc", "5"}, 32, 8, 3, 32},
      {"803x601x30", kNoShm, 30, 10, 3, 32}, {"803x601x16", kNoShm, 16, 5, 3, 16},
      {"803x601x8", kNoShm, 8, 8, 1, 8},     {"803x601x24", kNoShm, 32, 8, 3, 32}};
  for (const auto& each : cases) {
    SCOPED_TRACE(each.screen + ::testing::PrintToString(each.arguments));
    Screen screen(each.screen, each.arguments);
    ASSERT_EQ(screen.displays.size(), 1U) << screen.desktop->Problem();
    const Display& display = screen.displays[0];
    for (const uint32_t seed : {1U, 2U}) {
      screen.server.FillRandom(seed);
      const RgbImage expected = screen.server.ImportScreen();
      EXPECT_EQ(CountWrongPixels(screen.CaptureWhole(), expected, 0, 0), 0);
      EXPECT_EQ(CountWrongPixels(screen.Capture(display, {101, 33, 77, 51}), expected, 101, 33), 0);
    }
    EXPECT_EQ(display.bitsPerPixel, each.bitsPerPixel);
    EXPECT_EQ(display.bitsPerSample, each.bitsPerSample);
    EXPECT_EQ(display.samplesPerPixel, each.samplesPerPixel);
    EXPECT_EQ(display.quickDrawPixelSize, each.quickDrawPixelSize);
  }
}

// Monitors of different places and sizes on a screen of 800 x 600 pixels.
PixelRect AreaOfMonitor(int index) {
  return {index % 8 * 100, index / 8 * 100, 20 + index, 60 - index};
}

// Makes that many monitors come, one of them primary, or go.
void ChangeMonitors(const Xvfb& server, const char* change, int count, int primary) {
  std::vector<std::string> command = {"xrandr"};
  for (int i = 0; i < count; ++i) {
    const auto [x, y, width, height] = AreaOfMonitor(i);
    std::ostringstream area;
    area << width << "/9x" << height << "/9+" << x << "+" << y;
    command.insert(command.end(), {change, (i == primary ? "*m" : "m") + std::to_string(i)});
    if (primary >= 0) command.insert(command.end(), {area.str(), i == 0 ? "screen" : "none"});
  }
  server.Run(command);
}

TEST(X11Desktop, FollowsFortyMonitorsThatComeAndGoAndKeepTheirIdentifiers) {
  Screen screen("800x600x24");
  screen.server.FillRandom(3);
  const RgbImage expected = screen.server.ImportScreen();
  std::map<uint32_t, int> monitors;  // by identifier
  for (const auto& [count, primary] : {std::pair(40, 0), std::pair(1, 0), std::pair(40, 11)}) {
    ChangeMonitors(screen.server, "--setmonitor", count, primary);
    ASSERT_EQ(screen.List(), static_cast<size_t>(count)) << screen.desktop->Problem();
    const PixelRect main = AreaOfMonitor(primary);
    for (int i = 0; i < count; ++i) {
      const int monitor = i == 0 ? primary : i <= primary ? i - 1 : i;  // the main one comes first
      const PixelRect area = AreaOfMonitor(monitor);
      const Display& display = screen.displays[static_cast<size_t>(i)];
      EXPECT_EQ(monitors.emplace(display.id, monitor).first->second, monitor);
      EXPECT_EQ(display.bounds,
                (PixelRect{area.x - main.x, area.y - main.y, area.width, area.height}));
      EXPECT_EQ(
          CountWrongPixels(screen.CaptureWhole(static_cast<size_t>(i)), expected, area.x, area.y),
          0)
          << monitor;
    }
    ChangeMonitors(screen.server, "--delmonitor", count, -1);
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
  EXPECT_TRUE(screen.isGone);
  EXPECT_STREQ(screen.desktop->Problem(), "the display is gone or has changed");
  ASSERT_EQ(screen.List(), 1U);
  EXPECT_TRUE(screen.CaptureWhole()) << screen.desktop->Problem();
}

TEST(X11Desktop, LeavesAHeldFrameUnchangedWhateverBecomesOfTheServer) {
  Screen screen;
  screen.server.FillRandom(4);
  const RgbImage before = screen.server.ImportScreen();
  const Frame held = screen.CaptureWhole();
  screen.server.FillRandom(5);
  EXPECT_EQ(CountWrongPixels(screen.CaptureWhole(), screen.server.ImportScreen(), 0, 0), 0);
  screen.server.Kill();
  EXPECT_FALSE(screen.CaptureWhole());
  screen.server.Restart();
  EXPECT_FALSE(screen.CaptureWhole()) << "of another server than listed the display";
  EXPECT_FALSE(screen.isGone);
  screen.desktop.reset();
  EXPECT_EQ(CountWrongPixels(held, before, 0, 0), 0);
}

// The server stops while it delivers a large image, after a quarter, half and three quarters of
// the time that this takes. A stop that comes late lets the capture end; not every one does.
TEST(X11Desktop, FailsInTimeWhenItsServerStopsInTheMiddle) {
  Screen screen("4096x4096x24", kNoShm);
  auto start = steady_clock::now();
  ASSERT_TRUE(screen.CaptureWhole());
  const auto whole = steady_clock::now() - start;
  int stopped = 0;
  for (int quarters = 1; quarters <= 3; ++quarters) {
    const auto delay = std::chrono::duration_cast<std::chrono::microseconds>(whole * quarters / 4);
    const pid_t stopper = fork();
    if (stopper == 0) {
      usleep(static_cast<useconds_t>(delay.count()));
      kill(screen.server.pid(), SIGSTOP);
      _exit(0);
    }
    start = steady_clock::now();
    if (!screen.CaptureWhole()) {
      ++stopped;
      EXPECT_EQ(screen.desktop->Problem(),
                "X server " + screen.server.display() + " does not answer");
    }
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
    waitpid(stopper, nullptr, 0);
    screen.server.Continue();
    screen.List();
    EXPECT_TRUE(screen.CaptureWhole()) << screen.desktop->Problem();
  }
  EXPECT_GE(stopped, 1);
}

// A server that lets in only who knows the cookie of an authority file.
TEST(GuardedServer, SaysWhyItRefusesAndXcbWritesNothing) {
  const std::string file = ::testing::TempDir() + "qrv-authority-" + std::to_string(getpid());
  const auto addCookie = [&](const std::string& display) {
    Xvfb("320x200x24")
        .Run({"xauth", "-f", file, "add", display, ".", "00112233445566778899aabbccddeeff"});
  };
  addCookie(":0");
  const Xvfb server("320x200x24", {"-auth", file});
  const auto desktop = OpenX11Desktop(server.display());
  std::vector<Display> displays;
  {
    const ScopedVariable none("XAUTHORITY", "/nonexistent");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(desktop->ListDisplays(displays));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_NE(std::string(desktop->Problem()).find("refuses the connection: "), std::string::npos);
  }
  addCookie(server.display());
  const ScopedVariable authority("XAUTHORITY", file.c_str());
  EXPECT_TRUE(desktop->ListDisplays(displays)) << desktop->Problem();
  std::filesystem::remove(file);
}

TEST(X11Desktop, LeavesTheConnectionToTheProcessThatOpenedIt) {
  const auto countFiles = [] {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  Screen screen;
  const pid_t child = fork();
  if (child == 0) {
    const bool isInherited = !screen.CaptureWhole();
    _exit(isInherited && screen.List() == 1 && screen.CaptureWhole() ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  const auto files = countFiles();
  EXPECT_TRUE(screen.CaptureWhole()) << screen.desktop->Problem();
  EXPECT_EQ(countFiles(), files);  // no second connection
}

TEST(X11Geometry, CutsMonitorsToTheRootWindow) {
  const auto displays = PlaceDisplays({{5, false, {-10, -20, 100, 100}},
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
  sigpending(&pending);
  return sigismember(&pending, SIGPIPE) == 1;
}

TEST(SigpipeGuard, TakesBackASignalRaisedMeanwhileAndLeavesOneThatWasPendingBefore) {
  {
    const SigpipeGuard guard;
    raise(SIGPIPE);  // ends the process if it gets through
  }
  EXPECT_FALSE(IsPending());
  sigset_t sigpipe;
  sigemptyset(&sigpipe);
  sigaddset(&sigpipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &sigpipe, nullptr);
  raise(SIGPIPE);
  { const SigpipeGuard guard; }
  EXPECT_TRUE(IsPending());
}

}  // namespace
}  // namespace qrv::desktop
