// Servers whose monitors change between captures, and servers and hosts that run out of something.

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include "tests/integration/plugin.h"
#include "tests/support/holdings.h"

namespace qrv::testing {
namespace {

// --- Monitors ---

class ChangingScreen : public ::testing::Test {
 protected:
  // The displays are these parts of the screen, the main one first, by every strategy. Rectangles
  // begin at the main one's corner.
  void ExpectDisplays(const std::vector<Area>& areas) {
    server_.See();
    for (const char* system : kSystems) {
      EXPECT_EQ(Difference(plugin_.On(system).Main(), server_.Part(areas[0])), "") << system;
      for (size_t i = 0; i < areas.size(); ++i) {
        const Image expected = server_.Part(areas[i]);
        const Area area = {areas[i].left - areas[0].left, areas[i].top - areas[0].top,
                           areas[i].width, areas[i].height};
        const auto index = static_cast<int>(i);
        EXPECT_EQ(Difference(plugin_.On(system).Display(index), expected), "") << system << i;
        EXPECT_EQ(Difference(plugin_.On(system).Rect(area), expected), "") << system << i;
      }
    }
  }

  Screen server_{"640x480x24"};
  Plugin plugin_;
};

TEST_F(ChangingScreen, IsFollowedFromCaptureToCapture) {
  ExpectDisplays({{0, 0, 640, 480}});
  server_.SetMonitor("*left", {0, 0, 300, 480}, "screen");
  ExpectDisplays({{0, 0, 300, 480}});
  server_.SetMonitor("right", {300, 80, 340, 400});
  ExpectDisplays({{0, 0, 300, 480}, {300, 80, 340, 400}});
  server_.SetMonitor("*main", {500, 20, 100, 50});
  server_.Run({"xrandr", "--delmonitor", "right"});
  ExpectDisplays({{500, 20, 100, 50}, {0, 0, 300, 480}});
  server_.Run({"xrandr", "--delmonitor", "main"});
  server_.Run({"xrandr", "--delmonitor", "left"});
  server_.Run({"xrandr", "--newmode", "small", "13", "320", "336", "384", "400", "240", "245",
               "249", "251"});
  server_.Run({"xrandr", "--addmode", "screen", "small"});
  server_.Run({"xrandr", "--output", "screen", "--mode", "small"});
  ExpectDisplays({{0, 0, 320, 240}});
  server_.Run({"xrandr", "--output", "screen", "--mode", "640x480"});
  ExpectDisplays({{0, 0, 640, 480}});
}

// --- Shared memory and descriptors that run out. Each capture needs more than the one before. ---

struct LargeScreen : Screen {
  static constexpr int kHeight = 1200;  // 7.7 MB

  LargeScreen() : Screen("1600x1200x24") {}

  // Captures the rows down to that one.
  void ExpectRows(int rows) {
    const Area area = {0, 0, 1600, rows};
    EXPECT_EQ(Difference(plugin.Rect(area), Part(area)), "") << rows;
  }

  Plugin plugin;
};

// Lets a process have no more descriptors than so many, and returns what it might have before.
rlim_t LimitDescriptors(pid_t process, rlim_t count) {
  rlimit limits = {};
  prlimit(process, RLIMIT_NOFILE, nullptr, &limits);
  const rlim_t before = std::exchange(limits.rlim_cur, count);
  EXPECT_EQ(prlimit(process, RLIMIT_NOFILE, &limits, nullptr), 0);
  return before;
}

TEST(LimitedServer, WithoutDescriptorsForMoreMemoryIsStillCaptured) {
  LargeScreen server;
  server.ExpectRows(10);
  const rlim_t many = LimitDescriptors(server.pid(), 3);
  server.ExpectRows(server.kHeight);
  LimitDescriptors(server.pid(), many);
  server.ExpectRows(server.kHeight);
}

TEST(LimitedServer, IsStillCapturedByAHostThatHasRunOutOfDescriptors) {
  LargeScreen server;
  const int next = dup(STDIN_FILENO);
  close(next);
  const rlim_t many = LimitDescriptors(0, static_cast<rlim_t>(next));
  EXPECT_FALSE(server.plugin.Main().has_value()) << "without a connection";
  LimitDescriptors(0, many);
  server.ExpectRows(10);
  const Holdings before;
  LimitDescriptors(0, static_cast<rlim_t>(next));
  server.ExpectRows(server.kHeight);  // over the connection
  LimitDescriptors(0, many);
  server.ExpectRows(server.kHeight);
  EXPECT_THAT(Holdings().files, ::testing::ContainerEq(before.files));
}

// 4 MB of shared memory, in the folder where it is made as files, and no other.
TEST(LimitedServer, WithFullSharedMemoryIsStillCaptured) {
  constexpr uint32_t kMemfdCreate = 319;  // the server is a 64-bit program, also for 32-bit tests
  const int status = WaitForEnd(ForkTest([] {
    if (!MountSmallDisk("/dev/shm", "4m") || !RefuseSystemCall(kMemfdCreate, ENOSYS)) _exit(2);
    LargeScreen server;
    for (const int rows : {10, 400, 1200, 10, 600, 1200}) server.ExpectRows(rows);
  }));
  if (WEXITSTATUS(status) == 2) GTEST_SKIP() << "needs the right to mount a small disk";
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace qrv::testing
