// Captures over and over in one process, and at the end it holds what it held after the first
// hundred: memory, open files and mappings, its own and the X server's. QRV_TEST_CAPTURES says how
// many, which is rounded up to whole rounds.

#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <random>

#include "tests/integration/plugin.h"

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

int Rounds() {
  const char* const given = std::getenv("QRV_TEST_CAPTURES");
  const int captures = given != nullptr ? std::stoi(given) : 840;
  return (captures + kTurnsOfRound * kTurn - 1) / (kTurnsOfRound * kTurn);
}

struct Holdings {
  explicit Holdings(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmRSS:")) resident = std::stol(line.substr(6));
    }
    const std::filesystem::directory_iterator fds(folder + "/fd");
    files = std::distance(begin(fds), end(fds));
    std::ifstream maps(folder + "/maps");
    for (std::string line; std::getline(maps, line);) ++mappings;
  }

  long resident = 0;  // KiB
  long files = 0;
  long mappings = 0;
};

void ExpectNoMore(const char* whose, const Holdings& first, const Holdings& last) {
  std::cout << "  " << whose << ": " << first.resident << " -> " << last.resident
            << " KiB resident, " << first.files << " -> " << last.files << " open files, "
            << first.mappings << " -> " << last.mappings << " mappings\n";
  EXPECT_LE(last.resident, first.resident + kMoreResident);
  EXPECT_EQ(last.files, first.files);
  EXPECT_LE(last.mappings, first.mappings + kMoreMappings);
}

class Soaked {
 public:
  explicit Soaked(ApplicationKind application) : plugin_(Options(application)) {}

  void Run();

 private:
  // Every method delivers every time, but that a system of QuickDraw alone has no raw pixels.
  void CaptureByEveryMethod() {
    const auto pick = [this](int least, int most) {
      return std::uniform_int_distribution<int>(least, most)(random_);
    };
    for (const char* system : kSystems) {
      UseSystem(system);
      const bool isRaw = std::string(system) != kQuickDraw;
      const int left = pick(-400, 700), top = pick(-100, 500);
      const int width = pick(1, 900), height = pick(1, 700);
      ASSERT_TRUE(plugin_.Main().has_value());
      ASSERT_TRUE(plugin_.Display(0).has_value());
      ASSERT_TRUE(plugin_.Rect(left, top, width, height).has_value());
      ASSERT_TRUE(plugin_.Scaled(left, top, width, height, pick(1, 500), pick(1, 500)).has_value());
      ASSERT_EQ(plugin_.Raw().bytes.empty(), !isRaw);
      ASSERT_EQ(plugin_.RawDisplay(0).bytes.empty(), !isRaw);
      const std::string bytes(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 'x');
      ASSERT_TRUE(plugin_.FromRaw({bytes, 0, width, height, width * 4}).has_value());
    }
  }

  // Memory that is free but kept by the allocator is not counted.
  static Holdings Own() {
    malloc_trim(0);
    return Holdings(getpid());
  }

  static runtime::HostOptions Options(ApplicationKind application) {
    runtime::HostOptions options;
    options.application = application;
    return options;
  }

  const Xvfb server_{"800x600x24"};
  Plugin plugin_;
  std::mt19937 random_{1};
};

void Soaked::Run() {
  const int turns = Rounds() * kTurnsOfRound;
  std::optional<Holdings> own, server;
  for (int turn = 0; turn < turns; ++turn) {
    if (turn == kTurnsBeforeFirstLook) {
      own = Own();
      server = Holdings(server_.pid());
    }
    if (turn % kTurnsOfRound == 0) UseDesktop("virtual:640x480+0+0,320x240-320+100");
    if (turn % kTurnsOfRound == kVirtualTurns) UseDesktop(server_);
    CaptureByEveryMethod();
    if (::testing::Test::HasFatalFailure()) return;
  }
  std::cout << turns * kTurn << " captures:\n";
  ExpectNoMore("this process", *own, Own());
  ExpectNoMore("the X server", *server, Holdings(server_.pid()));
}

TEST(Soak, HoldsAsMuchAtTheEnd) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizers keep memory for themselves";
#endif
  const std::pair<const char*, ApplicationKind> kinds[] = {{"desktop", ApplicationKind::kDesktop},
                                                           {"console", ApplicationKind::kConsole},
                                                           {"web", ApplicationKind::kWeb}};
  for (const auto& [name, kind] : kinds) {
    std::cout << name << ": ";
    EXPECT_EQ(WaitForEnd(ForkTest([kind = kind] { Soaked(kind).Run(); })), 0);
  }
}

}  // namespace
}  // namespace qrv::testing
