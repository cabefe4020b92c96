// Servers whose monitors change between captures, and servers and hosts that run out of something.

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include "tests/integration/footprint.h"
#include "tests/integration/plugin.h"

namespace qrv::testing {
namespace {

// --- Monitors ---

class ChangingScreen : public ::testing::Test {
 protected:
  ChangingScreen() {
    server_.FillRandom(Seed());
    UseDesktop(server_);
  }

  void Xrandr(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "xrandr");
    server_.Run(arguments);
  }

  // The displays are these parts of the screen, the main one first, by every strategy. Rectangles
  // begin at the main one's corner.
  void ExpectDisplays(const std::vector<Area>& areas) {
    const RgbImage screen = server_.ImportScreen();
    for (const char* system : kSystems) {
      EXPECT_EQ(DifferenceOn(
                    system, [&] { return plugin_.Main(); }, Crop(screen, areas[0])),
                "");
      for (size_t i = 0; i < areas.size(); ++i) {
        const Area& area = areas[i];
        const runtime::Image expected = Crop(screen, area);
        const int x = area.left - areas[0].left, y = area.top - areas[0].top;
        EXPECT_EQ(DifferenceOn(
                      system, [&] { return plugin_.Display(static_cast<int>(i)); }, expected),
                  "")
            << i;
        EXPECT_EQ(
            DifferenceOn(
                system, [&] { return plugin_.Rect(x, y, area.width, area.height); }, expected),
            "")
            << i;
      }
    }
  }

  const Xvfb server_{"640x480x24"};
  Plugin plugin_;
};

TEST_F(ChangingScreen, IsFollowedFromCaptureToCapture) {
  ExpectDisplays({{0, 0, 640, 480}});
  server_.SetMonitor("*left", {0, 0, 300, 480}, "screen");
  ExpectDisplays({{0, 0, 300, 480}});
  server_.SetMonitor("right", {300, 80, 340, 400});
  ExpectDisplays({{0, 0, 300, 480}, {300, 80, 340, 400}});
  server_.SetMonitor("*main", {500, 20, 100, 50});
  Xrandr({"--delmonitor", "right"});
  ExpectDisplays({{500, 20, 100, 50}, {0, 0, 300, 480}});
  Xrandr({"--delmonitor", "main"});
  Xrandr({"--delmonitor", "left"});
  ExpectDisplays({{0, 0, 640, 480}});
}

TEST_F(ChangingScreen, IsFollowedWhenTheRootWindowShrinksAndGrows) {
  Xrandr({"--newmode", "small", "13", "320", "336", "384", "400", "240", "245", "249", "251"});
  Xrandr({"--addmode", "screen", "small"});
  for (int i = 0; i < 3; ++i) {
    Xrandr({"--output", "screen", "--mode", "small"});
    ExpectDisplays({{0, 0, 320, 240}});
    Xrandr({"--output", "screen", "--mode", "640x480"});
    ExpectDisplays({{0, 0, 640, 480}});
  }
}

// --- Shared memory and descriptors that run out. Each capture needs more than the one before. ---

class LimitedServer : public ::testing::Test {
 protected:
  static constexpr int kWidth = 1600;
  static constexpr int kHeight = 1200;  // 7.7 MB

  void Start(bool (*prepare)() = nullptr) {
    server_.emplace(std::to_string(kWidth) + "x" + std::to_string(kHeight) + "x24",
                    std::vector<std::string>(), prepare);
    server_->FillRandom(Seed());
    UseDesktop(*server_);
    screen_ = server_->ImportScreen();
  }

  // A capture of the rows down to that one.
  void ExpectRows(int rows) {
    EXPECT_EQ(
        Difference(Opaque(plugin_.Rect(0, 0, kWidth, rows)), Crop(screen_, {0, 0, kWidth, rows})),
        "")
        << rows;
  }

  std::optional<Xvfb> server_;
  RgbImage screen_;
  Plugin plugin_;
};

TEST_F(LimitedServer, WithoutDescriptorsForMoreMemoryIsStillCaptured) {
  Start();
  ExpectRows(10);
  rlimit before = {};
  ASSERT_EQ(prlimit(server_->pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {3, before.rlim_max};
  ASSERT_EQ(prlimit(server_->pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  ExpectRows(kHeight);
  ASSERT_EQ(prlimit(server_->pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  ExpectRows(kHeight);
}

// For a server: 4 MB of shared memory, in the folder where it is made as files, and no other.
bool LimitSharedMemory() {
  constexpr uint32_t kMemfdCreate = 319;  // the server is a 64-bit program, also for 32-bit tests
  return MountSmallDisk("/dev/shm", "4m") && RefuseSystemCall(kMemfdCreate, ENOSYS);
}

TEST_F(LimitedServer, WithFullSharedMemoryIsStillCaptured) {
  if (WaitForEnd(Fork([] { return LimitSharedMemory() ? 0 : 1; })) != 0) {
    GTEST_SKIP() << "needs the right to mount a small memory file system for the server";
  }
  Start(LimitSharedMemory);
  for (const int rows : {10, kHeight / 3, kHeight, 10, kHeight / 2, kHeight}) ExpectRows(rows);
}

// Lets this process have no more descriptors than it has.
class NoMoreDescriptors {
 public:
  NoMoreDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const int next = dup(STDIN_FILENO);
    close(next);
    const rlimit none = {static_cast<rlim_t>(next), before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_ = {};
};

TEST_F(LimitedServer, IsStillCapturedByAHostThatHasRunOutOfDescriptors) {
  Start();
  {
    const NoMoreDescriptors noMore;
    EXPECT_FALSE(plugin_.Rect(0, 0, kWidth, 10).has_value()) << "without a connection";
  }
  ExpectRows(10);
  const Footprint before = Footprint::Now();
  {
    const NoMoreDescriptors noMore;
    ExpectRows(kHeight);  // over the connection
  }
  ExpectRows(kHeight);
  EXPECT_EQ(Difference(Footprint::Now(), before), "");
}

}  // namespace
}  // namespace qrv::testing
