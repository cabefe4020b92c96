#include "platform/desktop/x11.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/desktop/x11_geometry.h"
#include "tests/support/xvfb.h"

namespace qrv::desktop {
namespace {

using ::qrv::testing::RgbImage;
using ::qrv::testing::Xvfb;
using std::chrono::steady_clock;

constexpr std::chrono::seconds kLimit{5};

std::vector<Display> List(Desktop& desktop) {
  std::vector<Display> displays;
  if (!desktop.ListDisplays(displays)) displays.clear();
  return displays;
}

Frame CaptureWhole(Desktop& desktop, const Display& display) {
  return desktop.Capture(display, {0, 0, display.pixelWidth, display.pixelHeight});
}

// How many pixels of a frame differ from the imported screen, the frame's corner being at (x, y).
int CountWrongPixels(const Frame& frame, const RgbImage& screen, int left, int top) {
  int wrong = 0;
  for (int32_t y = 0; y < frame.height; ++y) {
    const uint8_t* pixel = frame.pixels + static_cast<size_t>(y) * frame.rowBytes;
    const uint8_t* expected =
        screen.pixels.data() + (static_cast<size_t>(top + y) * static_cast<size_t>(screen.width) +
                                static_cast<size_t>(left)) *
                                   3;
    for (int32_t x = 0; x < frame.width; ++x, pixel += 4, expected += 3) {
      if (pixel[0] != expected[2] || pixel[1] != expected[1] || pixel[2] != expected[0]) ++wrong;
    }
  }
  return wrong;
}

size_t CountFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(files), end(files)));
}

struct ScreenCase {
  const char* name;
  const char* screen;
  std::vector<std::string> arguments;
  int bitsPerPixel, bitsPerSample, samplesPerPixel, quickDrawPixelSize;
};

void PrintTo(const ScreenCase& screenCase, std::ostream* out) { *out << screenCase.name; }

class X11Screen : public ::testing::TestWithParam<ScreenCase> {};

TEST_P(X11Screen, LooksAsToOtherPrograms) {
  const Xvfb server(GetParam().screen, GetParam().arguments);
  server.FillRandom(1);
  const RgbImage screen = server.ImportScreen();
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  ASSERT_EQ(displays.size(), 1U) << desktop->Problem();
  const Frame whole = CaptureWhole(*desktop, displays[0]);
  ASSERT_TRUE(whole) << desktop->Problem();
  EXPECT_EQ(whole.width, screen.width);
  EXPECT_EQ(whole.height, screen.height);
  EXPECT_EQ(CountWrongPixels(whole, screen, 0, 0), 0);
  const Frame part = desktop->Capture(displays[0], {101, 33, 77, 51});
  ASSERT_TRUE(part) << desktop->Problem();
  EXPECT_EQ(CountWrongPixels(part, screen, 101, 33), 0);
}

TEST_P(X11Screen, SaysHowItsPixelsAreMade) {
  const Xvfb server(GetParam().screen, GetParam().arguments);
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  ASSERT_EQ(displays.size(), 1U) << desktop->Problem();
  EXPECT_NE(displays[0].id, 0U);
  EXPECT_EQ(displays[0].bitsPerPixel, GetParam().bitsPerPixel);
  EXPECT_EQ(displays[0].bitsPerSample, GetParam().bitsPerSample);
  EXPECT_EQ(displays[0].samplesPerPixel, GetParam().samplesPerPixel);
  EXPECT_EQ(displays[0].quickDrawPixelSize, GetParam().quickDrawPixelSize);
}

const std::vector<std::string> kNoShm = {"-extension", "MIT-SHM"};
const std::vector<std::string> kNoRandr = {"-extension", "RANDR"};

INSTANTIATE_TEST_SUITE_P(
    All, X11Screen,
    ::testing::Values(ScreenCase{"Depth24", "803x601x24", {}, 32, 8, 3, 32},
                      ScreenCase{"Depth30", "803x601x30", {}, 30, 10, 3, 32},
                      ScreenCase{"Depth16", "803x601x16", {}, 16, 5, 3, 16},
                      ScreenCase{"Depth8", "803x601x8", {}, 8, 8, 1, 8},
                      ScreenCase{"DirectColor", "803x601x24", {"-cc", "5"}, 32, 8, 3, 32},
                      ScreenCase{"NoShmDepth24", "803x601x24", kNoShm, 32, 8, 3, 32},
                      ScreenCase{"NoShmDepth30", "803x601x30", kNoShm, 30, 10, 3, 32},
                      ScreenCase{"NoShmDepth16", "803x601x16", kNoShm, 16, 5, 3, 16},
                      ScreenCase{"NoShmDepth8", "803x601x8", kNoShm, 8, 8, 1, 8},
                      ScreenCase{"NoRandr", "803x601x24", kNoRandr, 32, 8, 3, 32}),
    [](const auto& instance) { return instance.param.name; });

TEST(X11Desktop, ShowsMonitorsAroundThePrimaryOne) {
  const Xvfb server("2720x1024x24");
  server.SetTwoMonitors(Xvfb::Primary::kRight);
  server.FillRandom(2);
  const RgbImage screen = server.ImportScreen();
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  ASSERT_EQ(displays.size(), 2U) << desktop->Problem();
  EXPECT_EQ(displays[0].bounds.x, 0);
  EXPECT_EQ(displays[0].pixelWidth, 1280);
  EXPECT_EQ(displays[1].bounds.x, -1440);
  EXPECT_EQ(displays[1].bounds.y, 0);
  EXPECT_EQ(displays[1].pixelHeight, 900);
  EXPECT_NE(displays[0].id, displays[1].id);
  EXPECT_EQ(CountWrongPixels(CaptureWhole(*desktop, displays[0]), screen, 1440, 0), 0);
  EXPECT_EQ(CountWrongPixels(CaptureWhole(*desktop, displays[1]), screen, 0, 0), 0);
}

TEST(X11Desktop, KeepsAMonitorsIdentifierWhenAnotherOneBecomesPrimary) {
  const Xvfb server("2720x1024x24");
  server.SetTwoMonitors(Xvfb::Primary::kLeft);
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> before = List(*desktop);
  server.Run({"xrandr", "--delmonitor", "left", "--delmonitor", "right"});
  server.SetTwoMonitors(Xvfb::Primary::kRight);
  const std::vector<Display> after = List(*desktop);
  ASSERT_EQ(before.size(), 2U);
  ASSERT_EQ(after.size(), 2U);
  EXPECT_EQ(before[0].id, after[1].id);
  EXPECT_EQ(before[1].id, after[0].id);
}

TEST(X11Desktop, HasNoPixelsOfADisplayThatShrank) {
  const Xvfb server("800x600x24");
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  ASSERT_EQ(displays.size(), 1U);
  ASSERT_TRUE(CaptureWhole(*desktop, displays[0]));
  server.Run({"xrandr", "--newmode", "small", "25", "640", "656", "752", "800", "480", "490", "492",
              "525"});
  server.Run({"xrandr", "--addmode", "screen", "small"});
  server.Run({"xrandr", "--output", "screen", "--mode", "small"});
  EXPECT_FALSE(CaptureWhole(*desktop, displays[0]));
  EXPECT_STREQ(desktop->Problem(), "the display is gone or has changed");
  const std::vector<Display> now = List(*desktop);
  ASSERT_EQ(now.size(), 1U);
  EXPECT_TRUE(CaptureWhole(*desktop, now[0])) << desktop->Problem();
}

TEST(X11Desktop, ReusesMemoryThatNoFrameHolds) {
  const Xvfb server;
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  const uint8_t* const first = CaptureWhole(*desktop, displays.at(0)).pixels;
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(CaptureWhole(*desktop, displays.at(0)).pixels, first);
}

TEST(X11Desktop, LeavesAHeldFrameUnchanged) {
  const Xvfb server;
  server.FillRandom(3);
  const RgbImage before = server.ImportScreen();
  auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  const Frame held = CaptureWhole(*desktop, displays.at(0));
  server.FillRandom(4);
  const RgbImage after = server.ImportScreen();
  const Frame next = CaptureWhole(*desktop, displays.at(0));
  EXPECT_EQ(CountWrongPixels(held, before, 0, 0), 0);
  EXPECT_EQ(CountWrongPixels(next, after, 0, 0), 0);
  desktop.reset();
  EXPECT_EQ(CountWrongPixels(held, before, 0, 0), 0);
}

TEST(X11Desktop, FailsWithoutItsServerAndWorksAgainWithANewOne) {
  Xvfb server;
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  const Frame held = CaptureWhole(*desktop, displays.at(0));
  const size_t files = CountFiles();
  for (int i = 0; i < 3; ++i) {
    server.Kill();
    EXPECT_FALSE(CaptureWhole(*desktop, displays[0]));
    EXPECT_TRUE(List(*desktop).empty());
    server.Restart();
    server.FillRandom(5);
    ASSERT_EQ(List(*desktop).size(), 1U) << desktop->Problem();
    const Frame frame = CaptureWhole(*desktop, displays[0]);
    ASSERT_TRUE(frame) << desktop->Problem();
    EXPECT_EQ(CountWrongPixels(frame, server.ImportScreen(), 0, 0), 0);
  }
  EXPECT_EQ(CountFiles(), files);
}

class HungServer : public ::testing::TestWithParam<std::vector<std::string>> {};

TEST_P(HungServer, FailsACaptureInTimeAndWorksAtOnceWhenItRunsAgain) {
  Xvfb server("1440x900x24", GetParam());
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  ASSERT_TRUE(CaptureWhole(*desktop, displays.at(0)));
  server.Stop();
  const auto start = steady_clock::now();
  EXPECT_FALSE(CaptureWhole(*desktop, displays[0]));
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(List(*desktop).empty());
  EXPECT_FALSE(CaptureWhole(*desktop, displays[0]));
  EXPECT_LT(steady_clock::now() - start, kLimit);
  EXPECT_EQ(desktop->Problem(), "X server " + server.display() + " does not answer");
  server.Continue();
  EXPECT_EQ(List(*desktop).size(), 1U) << desktop->Problem();
  EXPECT_TRUE(CaptureWhole(*desktop, displays[0])) << desktop->Problem();
}

INSTANTIATE_TEST_SUITE_P(All, HungServer, ::testing::Values(std::vector<std::string>{}, kNoShm),
                         [](const auto& instance) {
                           return instance.index == 0 ? "WithSharedMemory" : "WithoutSharedMemory";
                         });

TEST(X11Desktop, FailsInTimeWhenItFindsItsServerHung) {
  Xvfb server;
  const auto desktop = OpenX11Desktop(server.display());
  server.Stop();
  const auto start = steady_clock::now();
  EXPECT_TRUE(List(*desktop).empty());
  EXPECT_LT(steady_clock::now() - start, kLimit);
}

// The server stops while it delivers a large image, again and again at other moments.
TEST(X11Desktop, FailsInTimeWhenItsServerStopsInTheMiddle) {
  Xvfb server("4096x4096x24", kNoShm);
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  ASSERT_EQ(displays.size(), 1U);
  for (int delay = 1000; delay < 30000; delay *= 3) {
    const pid_t stopper = fork();
    if (stopper == 0) {
      usleep(static_cast<useconds_t>(delay));
      kill(server.pid(), SIGSTOP);
      _exit(0);
    }
    const auto start = steady_clock::now();
    CaptureWhole(*desktop, displays[0]);
    EXPECT_LT(steady_clock::now() - start, kLimit);
    waitpid(stopper, nullptr, 0);
    server.Continue();
    EXPECT_TRUE(CaptureWhole(*desktop, displays[0])) << desktop->Problem();
  }
}

// A server that lets in only who knows the cookie of an authority file.
class GuardedServer : public ::testing::Test {
 protected:
  GuardedServer() {
    AddCookie(":0");
    server_ = std::make_unique<Xvfb>("320x200x24", std::vector<std::string>{"-auth", file_});
  }
  ~GuardedServer() override { std::filesystem::remove(file_); }

  void AddCookie(const std::string& display) {
    Xvfb("320x200x24")
        .Run({"xauth", "-f", file_, "add", display, ".", "00112233445566778899aabbccddeeff"});
  }

  const std::string file_ = ::testing::TempDir() + "qrv-authority-" + std::to_string(getpid());
  std::unique_ptr<Xvfb> server_;
};

TEST_F(GuardedServer, SaysWhyItRefusesAndXcbWritesNothing) {
  const qrv::testing::ScopedVariable authority("XAUTHORITY", "/nonexistent");
  const auto desktop = OpenX11Desktop(server_->display());
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(List(*desktop).empty());
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_NE(std::string(desktop->Problem()).find("refuses the connection: "), std::string::npos)
      << desktop->Problem();
}

TEST_F(GuardedServer, LetsInWhoKnowsTheCookie) {
  AddCookie(server_->display());
  const qrv::testing::ScopedVariable authority("XAUTHORITY", file_.c_str());
  const auto desktop = OpenX11Desktop(server_->display());
  EXPECT_EQ(List(*desktop).size(), 1U) << desktop->Problem();
}

TEST(X11Desktop, LeavesTheConnectionToTheProcessThatOpenedIt) {
  const Xvfb server;
  const auto desktop = OpenX11Desktop(server.display());
  const std::vector<Display> displays = List(*desktop);
  const pid_t child = fork();
  if (child == 0) _exit(CaptureWhole(*desktop, displays.at(0)) ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  const size_t files = CountFiles();
  EXPECT_TRUE(CaptureWhole(*desktop, displays.at(0))) << desktop->Problem();
  EXPECT_EQ(CountFiles(), files);  // no second connection
}

TEST(X11Geometry, CutsMonitorsToTheRootWindow) {
  const PixelFormat format;
  const auto displays = PlaceDisplays({{5, false, {-10, -20, 100, 100}},
                                       {6, false, {500, 0, 50, 50}},
                                       {7, true, {350, 250, 100, 100}}},
                                      400, 300, format);
  ASSERT_EQ(displays.size(), 2U);
  EXPECT_EQ(displays[0].display.id, 7U);
  EXPECT_EQ(displays[0].display.pixelWidth, 50);
  EXPECT_EQ(displays[0].display.pixelHeight, 50);
  EXPECT_EQ(displays[1].display.bounds.x, -350);
  EXPECT_EQ(displays[1].display.bounds.y, -250);
  EXPECT_EQ(displays[1].display.pixelWidth, 90);
}

TEST(X11Geometry, ShowsTheWholeRootWindowWithoutMonitors) {
  const auto displays = PlaceDisplays({}, 400, 300, PixelFormat());
  ASSERT_EQ(displays.size(), 1U);
  EXPECT_EQ(displays[0].display.id, kWholeRootId);
  EXPECT_EQ(displays[0].area.height, 300);
}

}  // namespace
}  // namespace qrv::desktop
