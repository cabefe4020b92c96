// Captures over and over in one process, and at the end it holds what it held after the first
// hundred: memory, open files and mappings, its own and the X server's. QRV_TEST_CAPTURES says how
// many, which is rounded up to whole rounds.

#include <malloc.h>
#include <unistd.h>

#include "tests/integration/plugin.h"
#include "tests/support/holdings.h"

namespace qrv::testing {
namespace {

using runtime::ApplicationKind;

// A round begins on the virtual desktop, so that the X connection is opened again.
constexpr int kTurnsOfRound = 20;
constexpr int kVirtualTurns = 2;
constexpr int kTurnsBeforeFirstLook = 8;

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

void Soak(ApplicationKind application) {
  const TwoMonitors server;
  const std::string layout = "180x200+0+0,140x200+180+0";  // as the monitors
  runtime::HostOptions options;
  options.application = application;
  Plugin plugin(options);
  const int turnCaptures = static_cast<int>(kCaptures.size());
  const int rounds = (Setting("QRV_TEST_CAPTURES", 840) - 1) / (kTurnsOfRound * turnCaptures) + 1;
  std::optional<Holdings> own, its;
  for (int turn = 0; turn < rounds * kTurnsOfRound && !::testing::Test::HasFailure(); ++turn) {
    if (turn == kTurnsBeforeFirstLook) {
      own = HoldingsOf(getpid());
      its = HoldingsOf(server.pid());
    }
    const bool isVirtual = turn % kTurnsOfRound < kVirtualTurns;
    UseDesktop(isVirtual ? "virtual:" + layout : "x11:" + server.display());
    for (const Capture& each : kCaptures) {
      each.ExpectRight(plugin, isVirtual ? Cards(layout, each.part) : server.Part(each.part));
    }
  }
  std::cout << static_cast<int>(application) << ": " << rounds * kTurnsOfRound * turnCaptures
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
