// Servers whose monitors change between captures, and servers that lack something or run out of it.

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "tests/integration/captures.h"
#include "tests/integration/footprint.h"

namespace qrv::testing {
namespace {

constexpr const char* kStrategies[] = {kDisplayImage, kOpenGL, kQuickDraw};

Plugin::Picture Opaque(Plugin::Picture picture) {
  if (picture.has_value()) {
    for (size_t i = 3; i < picture->rgba.size(); i += 4) picture->rgba[i] = 255;
  }
  return picture;
}

struct Area {
  int left, top, width, height;
};

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

  // The displays are these parts of the screen, the main one first, by every strategy.
  void ExpectDisplays(const std::vector<Area>& areas) {
    const RgbImage screen = server_.ImportScreen();
    for (const char* system : kStrategies) {
      UseSystem(system);
      const Area& first = areas.front();
      const auto expected = Crop(screen, first.left, first.top, first.width, first.height);
      EXPECT_EQ(Difference(Opaque(plugin_.Main()), expected), "") << system;
      EXPECT_EQ(Difference(Opaque(plugin_.Rect(0, 0, first.width, first.height)), expected), "")
          << system;
      for (size_t i = 0; i < areas.size(); ++i) {
        const Area& area = areas[i];
        EXPECT_EQ(Difference(Opaque(plugin_.Display(static_cast<int>(i))),
                             Crop(screen, area.left, area.top, area.width, area.height)),
                  "")
            << system << ", display " << i;
      }
    }
  }

  const Xvfb server_{"640x480x24"};
  Plugin plugin_;
};

TEST_F(ChangingScreen, IsFollowedFromCaptureToCapture) {
  ExpectDisplays({{0, 0, 640, 480}});
  Xrandr({"--setmonitor", "*left", "300/50x480/50+0+0", "screen"});
  ExpectDisplays({{0, 0, 300, 480}});
  Xrandr({"--setmonitor", "right", "340/50x400/50+300+80", "none"});
  ExpectDisplays({{0, 0, 300, 480}, {300, 80, 340, 400}});
  Xrandr({"--delmonitor", "right"});
  Xrandr({"--setmonitor", "right", "100/50x50/50+500+20", "none"});
  ExpectDisplays({{0, 0, 300, 480}, {500, 20, 100, 50}});
  Xrandr({"--delmonitor", "right"});
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

// --- What a server lacks ---

class LackingServer : public ::testing::TestWithParam<const char*> {};

TEST_P(LackingServer, IsCapturedByEveryStrategy) {
  const Xvfb server("320x200x24", {"-extension", GetParam()});
  server.FillRandom(Seed());
  UseDesktop(server);
  Plugin plugin;
  const auto whole = Crop(server.ImportScreen(), 0, 0, 320, 200);
  for (const char* system : kStrategies) {
    UseSystem(system);
    EXPECT_EQ(Difference(Opaque(plugin.Main()), whole), "") << system;
    EXPECT_EQ(Difference(Opaque(plugin.Rect(0, 0, 320, 200)), whole), "") << system;
    EXPECT_EQ(Difference(Opaque(plugin.Scaled(0, 0, 320, 200, 320, 200)), whole), "") << system;
  }
}

INSTANTIATE_TEST_SUITE_P(X11, LackingServer, ::testing::Values("MIT-SHM", "RANDR"),
                         [](const auto& instance) {
                           return instance.param[0] == 'M' ? "SharedMemory" : "RandR";
                         });

// --- Shared memory and descriptors that run out. Each capture needs more than the one before. ---

class LimitedServer : public ::testing::Test {
 protected:
  static constexpr int kWidth = 1600;
  static constexpr int kHeight = 1200;  // 7.7 MB

  // A capture of the rows down to that one.
  static std::string CaptureRows(Plugin& plugin, const RgbImage& screen, int rows) {
    return Difference(Opaque(plugin.Rect(0, 0, kWidth, rows)), Crop(screen, 0, 0, kWidth, rows));
  }

  static std::string Screen() {
    return std::to_string(kWidth) + "x" + std::to_string(kHeight) + "x24";
  }
};

TEST_F(LimitedServer, WithoutDescriptorsForMoreMemoryIsStillCaptured) {
  const Xvfb server(Screen());
  server.FillRandom(Seed());
  UseDesktop(server);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  EXPECT_EQ(CaptureRows(plugin, screen, 10), "");
  rlimit before = {};
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, nullptr, &before), 0);
  const rlimit none = {3, before.rlim_max};
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &none, nullptr), 0);
  EXPECT_EQ(CaptureRows(plugin, screen, kHeight), "");
  ASSERT_EQ(prlimit(server.pid(), RLIMIT_NOFILE, &before, nullptr), 0);
  EXPECT_EQ(CaptureRows(plugin, screen, kHeight), "");
}

// Takes memfd_create from this process, as on systems that have none.
bool ForbidMemoryFiles() {
  constexpr uint32_t kMemfdCreate64 = 319;  // the server is a 64-bit program, also for 32-bit tests
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kMemfdCreate64, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  const sock_fprog program = {std::size(filter), filter};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

// Gives this process 4 MB for shared memory, in the folder where servers make it as files.
bool LimitSharedMemory() {
  return unshare(CLONE_NEWNS) == 0 &&
         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", "/dev/shm", "tmpfs", 0, "size=4m") == 0;
}

bool MayLimitSharedMemory() {
  const pid_t pid = fork();
  if (pid == 0) _exit(LimitSharedMemory() && ForbidMemoryFiles() ? 0 : 1);
  int status = 1;
  waitpid(pid, &status, 0);
  return status == 0;
}

TEST_F(LimitedServer, WithFullSharedMemoryIsStillCaptured) {
  if (!MayLimitSharedMemory()) {
    GTEST_SKIP() << "needs the right to mount a small memory file system for the server";
  }
  const Xvfb server(Screen(), {}, [] { return LimitSharedMemory() && ForbidMemoryFiles(); });
  server.FillRandom(Seed());
  UseDesktop(server);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  for (const int rows : {10, kHeight / 3, kHeight, 10, kHeight / 2, kHeight}) {
    EXPECT_EQ(CaptureRows(plugin, screen, rows), "") << rows;
  }
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
  const Xvfb server(Screen());
  server.FillRandom(Seed());
  UseDesktop(server);
  Plugin plugin;
  const RgbImage screen = server.ImportScreen();
  {
    const NoMoreDescriptors noMore;
    EXPECT_FALSE(plugin.Rect(0, 0, kWidth, 10).has_value()) << "without a connection";
  }
  EXPECT_EQ(CaptureRows(plugin, screen, 10), "");
  const Footprint before = Footprint::Now();
  {
    const NoMoreDescriptors noMore;
    EXPECT_EQ(CaptureRows(plugin, screen, kHeight), "") << "with one";
  }
  EXPECT_EQ(CaptureRows(plugin, screen, kHeight), "");
  EXPECT_EQ(Difference(Footprint::Now(), before), "");
}

}  // namespace
}  // namespace qrv::testing
