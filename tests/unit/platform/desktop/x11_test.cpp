#include "platform/desktop/x11/desktop.h"

#include <unistd.h>

#include <chrono>
#include <csignal>

#include "platform/desktop/signals.h"
#include "platform/desktop/x11/screen.h"
#include "tests/support/holdings.h"
#include "tests/support/process.h"
#include "tests/support/xvfb.h"
#include "tests/unit/platform/desktop/tested_desktop.h"

namespace qrv::desktop {
namespace {

using std::chrono::steady_clock;

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
    ASSERT_EQ(screen.displays.size(), 1U) << screen.desktop->Problem();
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
    ASSERT_EQ(screen.List(), static_cast<size_t>(count)) << screen.desktop->Problem();
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
  EXPECT_TRUE(screen.isGone);
  EXPECT_STREQ(screen.desktop->Problem(), "the display is gone or has changed");
  ASSERT_EQ(screen.List(), 1U);
  EXPECT_TRUE(screen.CaptureWhole()) << screen.desktop->Problem();
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
  EXPECT_FALSE(screen.isGone);
  screen.desktop.reset();
  screen.seen = before;
  EXPECT_EQ(screen.CountWrongPixels(held), 0);
}

TEST(X11Desktop, ShowsAnExpectedDisplayAsItWasThenAndOnce) {
  Screen screen;
  const auto expect = [&](uint32_t seed) {
    screen.Fill(seed);
    const Display& display = screen.displays.at(0);
    const Share whole = {display, {0, 0, display.pixelWidth, display.pixelHeight}};
    EXPECT_TRUE(screen.desktop->Expect({&whole, 1}));
  };
  const auto countWrong = [&] { return screen.CountWrongPixels(screen.CaptureWhole()); };
  ASSERT_EQ(screen.List(), 1U);
  expect(1);
  expect(2);  // in its place
  const testing::RgbImage then = screen.seen;
  screen.Fill(3);
  const testing::RgbImage now = std::exchange(screen.seen, then);
  EXPECT_EQ(countWrong(), 0);
  screen.seen = now;
  EXPECT_EQ(countWrong(), 0);
  expect(4);
  screen.Fill(5);
  ASSERT_EQ(screen.List(), 1U);  // what was expected before is not any more
  EXPECT_EQ(countWrong(), 0);
}

// The server stops while it delivers a large image, after a quarter, half and three quarters of
// the time that this takes. A stop that comes late lets the capture end; not every one does.
TEST(X11Desktop, FailsInTimeWhenItsServerStopsInTheMiddle) {
  Screen screen("4096x4096x24", {"-extension", "MIT-SHM"});
  auto start = steady_clock::now();
  ASSERT_TRUE(screen.CaptureWhole());
  const std::chrono::duration<double, std::micro> whole = steady_clock::now() - start;
  int stopped = 0;
  for (const double part : {0.25, 0.5, 0.75}) {
    const pid_t stopper = testing::Fork([&] {
      usleep(static_cast<useconds_t>(whole.count() * part));
      return kill(screen.server.pid(), SIGSTOP);
    });
    start = steady_clock::now();
    if (!screen.CaptureWhole()) {
      ++stopped;
      EXPECT_EQ(screen.desktop->Problem(),
                "X server " + screen.server.display() + " does not answer");
    }
    EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
    testing::WaitForEnd(stopper);
    screen.server.Continue();
    screen.List();
    EXPECT_TRUE(screen.CaptureWhole()) << screen.desktop->Problem();
  }
  EXPECT_GE(stopped, 1);
}

// A server that lets in only who knows the cookie of an authority file.
TEST(GuardedServer, SaysWhyItRefusesAndXcbWritesNothing) {
  const testing::ScratchFolder folder;
  const std::string file = folder.File("authority");
  const auto addCookie = [&](const std::string& display) {
    testing::RunProgram(
        {"xauth", "-f", file, "add", display, ".", "00112233445566778899aabbccddeeff"});
  };
  addCookie(":0");
  const testing::Xvfb server("320x200x24", {"-auth", file});
  addCookie(server.display());
  const auto desktop = OpenX11Desktop(server.display());
  std::vector<Display> displays;
  const testing::ScopedVariable none("XAUTHORITY", "/nonexistent");
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(desktop->ListDisplays(displays));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_NE(strstr(desktop->Problem(), "refuses the connection: "), nullptr);
  const testing::ScopedVariable authority("XAUTHORITY", file.c_str());
  EXPECT_TRUE(desktop->ListDisplays(displays)) << desktop->Problem();
}

TEST(X11Desktop, LeavesTheConnectionToTheProcessThatOpenedIt) {
  Screen screen;
  const pid_t child = testing::Fork([&] {
    const bool isInherited = !screen.CaptureWhole();
    return isInherited && screen.List() == 1 && screen.CaptureWhole() ? 0 : 1;
  });
  EXPECT_EQ(testing::WaitForEnd(child), 0);
  const auto files = testing::Holdings().files;
  EXPECT_TRUE(screen.CaptureWhole()) << screen.desktop->Problem();
  EXPECT_EQ(testing::Holdings().files, files);  // no second connection
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
