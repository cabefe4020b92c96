// Captures over and over in one process, and at the end it holds what it held after the first
// hundred: memory, open files and mappings, its own and the X server's. QRV_TEST_CAPTURES says how
// many, which is rounded up to whole rounds.

#include <malloc.h>
#include <unistd.h>

#include <random>

#include "tests/integration/plugin.h"
#include "tests/support/holdings.h"

namespace qrv::testing {
namespace {

using runtime::ApplicationKind;

constexpr int kTurn = 21;  // captures: seven methods by three strategies
// A round begins on the virtual desktop, so that the X connection is opened anew.
constexpr int kTurnsOfRound = 20;
constexpr int kVirtualTurns = 2;
constexpr int kTurnsBeforeFirstLook = 5;

// What may be more at the end than at the first look. Memory: pages of code that ran for the first
// time, and what the allocator keeps in pieces. Mappings: an X connection keeps its two largest
// segments, and the allocator gives large blocks mappings of their own.
constexpr long kMoreResident = 1024;  // KiB
constexpr long kMoreMappings = 4;

// Memory that is free but kept by the allocator is not counted.
Holdings HoldingsOf(pid_t process) {
  malloc_trim(0);
  return Holdings(std::to_string(process));
}

void ExpectNoMore(const char* whose, const Holdings& first, const Holdings& last) {
  std::cout << "  " << whose << ": " << first.resident << " -> " << last.resident
            << " KiB resident, " << first.files.size() << " -> " << last.files.size()
            << " open files, " << first.mappings << " -> " << last.mappings << " mappings\n";
  EXPECT_LE(last.resident, first.resident + kMoreResident);
  EXPECT_EQ(last.files.size(), first.files.size());
  EXPECT_LE(last.mappings, first.mappings + kMoreMappings);
}

// Every method delivers every time, but that a system of QuickDraw alone has no raw pixels.
void CaptureByEveryMethod(Plugin& plugin, std::mt19937& random) {
  const auto pick = [&random](int least, int most) {
    return std::uniform_int_distribution<int>(least, most)(random);
  };
  for (const char* system : kSystems) {
    UseSystem(system);
    const Area r = {pick(-400, 700), pick(-100, 500), pick(1, 900), pick(1, 700)};
    const std::string bytes(static_cast<size_t>(r.width) * static_cast<size_t>(r.height) * 4, 'x');
    for (const Plugin::Picture& each : {plugin.Main(), plugin.Display(0), plugin.Rect(r),
                                        plugin.Scaled(r, pick(1, 500), pick(1, 500)),
                                        plugin.FromRaw({bytes, r.width, r.height, r.width * 4})}) {
      EXPECT_TRUE(each.has_value()) << system;
    }
    const bool isRaw = system != kQuickDraw;
    EXPECT_EQ(plugin.Raw().bytes.empty(), !isRaw);
    EXPECT_EQ(plugin.Raw(0).bytes.empty(), !isRaw);
  }
}

void Soak(ApplicationKind application) {
  const Xvfb server("800x600x24");
  runtime::HostOptions options;
  options.application = application;
  Plugin plugin(options);
  std::mt19937 random(1);
  const int rounds = (Setting("QRV_TEST_CAPTURES", 840) - 1) / (kTurnsOfRound * kTurn) + 1;
  std::optional<Holdings> own, its;
  for (int turn = 0; turn < rounds * kTurnsOfRound && !::testing::Test::HasFailure(); ++turn) {
    if (turn == kTurnsBeforeFirstLook) {
      own = HoldingsOf(getpid());
      its = HoldingsOf(server.pid());
    }
    if (turn % kTurnsOfRound == 0) UseDesktop("virtual:640x480+0+0,320x240-320+100");
    if (turn % kTurnsOfRound == kVirtualTurns) UseDesktop("x11:" + server.display());
    CaptureByEveryMethod(plugin, random);
  }
  std::cout << static_cast<int>(application) << ": " << rounds * kTurnsOfRound * kTurn
            << " captures\n";
  ExpectNoMore("this process", *own, HoldingsOf(getpid()));
  ExpectNoMore("the X server", *its, HoldingsOf(server.pid()));
}

TEST(Soak, HoldsAsMuchAtTheEnd) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizers keep memory for themselves";
#endif
  for (const auto kind :
       {ApplicationKind::kDesktop, ApplicationKind::kConsole, ApplicationKind::kWeb}) {
    EXPECT_EQ(WaitForEnd(ForkTest([kind] { Soak(kind); })), 0);
  }
}

}  // namespace
}  // namespace qrv::testing
