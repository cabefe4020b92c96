// The display server dies and hangs while it is captured; the host lives on and nothing stays.
// QRV_TEST_KILLS says how often it is killed.

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <new>
#include <random>
#include <thread>

#include "tests/integration/captures.h"
#include "tests/integration/footprint.h"

namespace qrv::testing {
namespace {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

int Kills() {
  const char* const given = std::getenv("QRV_TEST_KILLS");
  return given != nullptr ? std::stoi(given) : 40;
}

// Kills a process after a while, on a thread of its own.
class KillLater {
 public:
  KillLater(pid_t pid, microseconds delay)
      : thread_([this, pid, delay] {
          std::this_thread::sleep_for(delay);
          kill(pid, SIGKILL);
          isDone_ = true;
        }) {}
  ~KillLater() { thread_.join(); }

  bool isDone() const { return isDone_; }

 private:
  std::atomic<bool> isDone_ = false;
  std::thread thread_;
};

class DyingServer : public ::testing::Test {
 protected:
  DyingServer() : random_(Seed()) { UseDesktop(server_); }

  const Capture& PickCapture() { return kCaptures[random_() % kCaptures.size()]; }

  std::string CaptureRight(const Capture& capture) {
    const std::string difference = Difference(capture(plugin_), capture.Expected(server_.screen()));
    return difference.empty() ? "" : Named(capture) + difference;
  }

  std::string CaptureNil(const Capture& capture) {
    return capture(plugin_).has_value() ? Named(capture) + "is a picture of no server" : "";
  }

  // Captures until the server is killed. Nil, the right picture, or one that lacks a display.
  std::string CaptureWhileItDies() {
    // The longer delays let a few captures pass before.
    const KillLater killer(server_.pid(), microseconds(random_() % 12000));
    while (!killer.isDone()) {
      const Capture& capture = PickCapture();
      const Plugin::Picture picture = capture(plugin_);
      const runtime::Image expected = capture.Expected(server_.screen());
      ++captures_;
      if (!picture.has_value()) {
        ++nils_;
      } else if (picture->rgba != expected.rgba) {
        ++lacking_;
        if (!IsRightOrMissing(*picture, expected)) {
          return Named(capture) + Difference(picture, expected);
        }
      }
    }
    return "";
  }

  std::string DieAndComeBack() {
    const bool isConnected = random_() % 2 == 0;
    std::string problem = isConnected ? CaptureRight(PickCapture()) : "";
    if (problem.empty()) problem = CaptureWhileItDies();
    server_.Kill();
    for (int i = 0; i < 3 && problem.empty(); ++i) problem = CaptureNil(PickCapture());
    server_.Restart();
    server_.Prepare();
    return problem;
  }

  static std::string Named(const Capture& capture) {
    return std::string(capture.name) + " on " + capture.system + ": ";
  }

  const Footprint atStart_ = Footprint::Now();
  TwoMonitorServer server_;
  Plugin plugin_;
  std::mt19937 random_;
  int captures_ = 0;
  int nils_ = 0;
  int lacking_ = 0;
};

TEST_F(DyingServer, LeavesTheHostAliveAndWithoutATrace) {
  constexpr int kWarmUp = 10;
  Footprint warm;
  const int kills = Kills();
  for (int i = 0; i < kills; ++i) {
    ASSERT_EQ(DieAndComeBack(), "") << "kill " << i << ", QRV_TEST_SEED=" << Seed();
    if (i + 1 != kWarmUp) continue;
    for (const Capture& each : kCaptures) ASSERT_EQ(CaptureRight(each), "");
    warm = Footprint::Now();
  }
  for (const Capture& each : kCaptures) EXPECT_EQ(CaptureRight(each), "");
  const Footprint now = Footprint::Now();
  EXPECT_EQ(Difference(now, warm), "");
  EXPECT_LE(now.mappings, warm.mappings + 2);
  EXPECT_EQ(now.signals, atStart_.signals);
  EXPECT_EQ(now.threads, atStart_.threads);
  std::cout << kills << " kills, " << captures_ << " captures meanwhile: " << nils_ << " nil, "
            << lacking_ << " without a display; mapped files " << warm.mappings << " to "
            << now.mappings << "\n";
}

TEST_F(DyingServer, IsNilByEveryMethodAndRightAgainWithANewServer) {
  for (int connected = 0; connected < 2; ++connected) {
    for (const Capture& each : kCaptures) {
      EXPECT_EQ(connected == 1 ? CaptureRight(kCaptures.front()) : "", "");
      server_.Kill();
      EXPECT_EQ(CaptureNil(each), "");
      server_.Restart();
      server_.Prepare();
      EXPECT_EQ(CaptureRight(each), "");
    }
  }
}

// --- A server that hangs: each capture in a process of its own, all of them at a time. ---

// What passes between a test and its processes.
struct Stage {
  std::atomic<int> ready = 0;
  std::atomic<int> stopped = 0;
  std::atomic<int> past = 0;
  std::atomic<int> continued = 0;
};

bool WaitUntil(const std::atomic<int>& count, int wanted) {
  const auto deadline = steady_clock::now() + std::chrono::seconds(30);
  while (count < wanted) {
    if (steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(1));
  }
  return true;
}

// What a host was doing when the server stopped.
enum class Moment { kNothingYet, kBetweenCaptures, kCapturing };

class HungServers : public ::testing::TestWithParam<Moment> {
 protected:
  HungServers() : stage_(*new (MapShared(sizeof(Stage))) Stage) {}
  ~HungServers() override { munmap(&stage_, sizeof(Stage)); }

  static void* MapShared(size_t bytes) {
    return mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  }

  // The body of a process; what went wrong, or nothing.
  std::string Endure(const Capture& capture) {
    const runtime::Image expected = capture.Expected(server_.screen());
    Plugin plugin;
    if (GetParam() != Moment::kNothingYet) capture(plugin);
    const Footprint before = Footprint::Now();
    ++stage_.ready;
    std::string problem = CaptureUntilNil(plugin, capture, expected);
    ++stage_.past;
    if (!WaitUntil(stage_.continued, 1)) return "never continued";
    if (problem.empty()) problem = Difference(capture(plugin), expected);
    if (problem.empty() && GetParam() != Moment::kNothingYet) {
      problem = Difference(Footprint::Now(), before);
    }
    return problem;
  }

  std::string CaptureUntilNil(Plugin& plugin, const Capture& capture,
                              const runtime::Image& expected) {
    if (GetParam() != Moment::kCapturing && !WaitUntil(stage_.stopped, 1)) return "never stopped";
    for (int count = 0; count < kMaxCaptures; ++count) {
      const auto start = steady_clock::now();
      const Plugin::Picture picture = capture(plugin);
      const auto took = duration_cast<milliseconds>(steady_clock::now() - start);
      if (took >= milliseconds(5000)) return "took " + std::to_string(took.count()) + " ms";
      if (!picture.has_value()) return "";
      if (GetParam() != Moment::kCapturing) return "a picture of a hung server";
      if (!IsRightOrMissing(*picture, expected)) return Difference(picture, expected);
    }
    return "never nil";
  }

  pid_t Start(const Capture& capture) {
    const pid_t pid = fork();
    if (pid != 0) return pid;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::string problem = Endure(capture);
    if (!problem.empty()) {
      std::fprintf(stderr, "%s on %s: %s\n", capture.name, capture.system, problem.c_str());
    }
    _exit(problem.empty() && !HasFailure() ? 0 : 1);
  }

  static constexpr int kMaxCaptures = 100000;

  TwoMonitorServer server_;
  Stage& stage_;
};

TEST_P(HungServers, AreNilWithinFiveSecondsAndRightWhenTheyRunAgain) {
  UseDesktop(server_);
  std::vector<pid_t> processes;
  processes.reserve(kCaptures.size());
  for (const Capture& each : kCaptures) processes.push_back(Start(each));
  const int all = static_cast<int>(processes.size());
  EXPECT_TRUE(WaitUntil(stage_.ready, all));
  std::this_thread::sleep_for(microseconds(std::mt19937(Seed())() % 50000));
  server_.Stop();
  stage_.stopped = 1;
  EXPECT_TRUE(WaitUntil(stage_.past, all));
  server_.Continue();
  stage_.continued = 1;
  for (const pid_t pid : processes) {
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0) << "QRV_TEST_SEED=" << Seed();
  }
}

INSTANTIATE_TEST_SUITE_P(When, HungServers,
                         ::testing::Values(Moment::kNothingYet, Moment::kBetweenCaptures,
                                           Moment::kCapturing),
                         [](const auto& instance) {
                           return instance.param == Moment::kNothingYet        ? "NotYetConnected"
                                  : instance.param == Moment::kBetweenCaptures ? "BetweenCaptures"
                                                                               : "Capturing";
                         });

}  // namespace
}  // namespace qrv::testing
