// X servers of every kind against what ImageMagick's import sees there, and servers and hosts that
// run out of something.

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include "tests/integration/plugin.h"
#include "tests/support/holdings.h"

namespace qrv::testing {
namespace {

// What QuickDraw makes of a whole screen. Display images show every screen as it is, and so does
// OpenGL where QuickDraw does; it hands the others over.
enum class Shown { kExactly, kGrey, kNotAtAll };

Image Grey(Image image) {
  for (size_t i = 0; i < image.rgba.size(); i += 4) {
    uint8_t* p = image.rgba.data() + i;
    p[0] = p[1] = p[2] = static_cast<uint8_t>((77 * p[0] + 150 * p[1] + 29 * p[2] + 128) / 256);
  }
  return image;
}

TEST(X11, IsCapturedPixelForPixelByEveryStrategyThatCan) {
  const std::vector<std::string> noSharing = {"-extension", "MIT-SHM"};
  const std::tuple<const char*, Shown, std::vector<std::string>> screens[] = {
      {"641x479x24", Shown::kExactly, {}},
      {"641x479x24", Shown::kExactly, noSharing},
      {"641x479x24", Shown::kExactly, {"-extension", "RANDR"}},
      {"640x480x24", Shown::kExactly, {"-cc", "5"}},  // the colours are looked up
      {"641x479x30", Shown::kExactly, {}},
      {"641x479x30", Shown::kExactly, noSharing},
      {"641x479x16", Shown::kNotAtAll, {}},
      {"641x479x16", Shown::kNotAtAll, noSharing},
      {"641x479x8", Shown::kGrey, {}},
      {"641x479x8", Shown::kGrey, noSharing}};
  for (const auto& [size, byQuickDraw, arguments] : screens) {
    Screen server(size, {}, arguments);
    Plugin plugin;
    const Area area = {-5, 11, 333, 77};
    for (const char* system : kSystems) {
      SCOPED_TRACE(size + ::testing::PrintToString(arguments) + system);
      UseSystem(system);
      server.FillRandom(Seed() + static_cast<unsigned>(system[3]));  // another colour map, too
      server.See();
      const Image whole = server.Whole();
      if (system == kDisplayImage || byQuickDraw == Shown::kExactly) {
        EXPECT_EQ(Difference(plugin.On(system).Main(), whole), "");
        EXPECT_EQ(Difference(plugin.On(system).Rect(area), server.Part(area)), "");
      } else if (byQuickDraw == Shown::kGrey) {
        EXPECT_EQ(Difference(plugin.Main(), Grey(whole)), "");
      } else {
        EXPECT_FALSE(plugin.Main().has_value());
      }
    }
  }
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
  const auto segments = [&] { return Holdings(std::to_string(server.pid())).mappedFiles; };
  const long before = segments();
  for (const int rows : {100, 400, 10}) server.ExpectRows(rows);
  EXPECT_EQ(segments(), before + 1) << "smaller ones are given back";
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
