// The display server dies and hangs while it is captured; the host lives on and nothing stays.
// QRV_TEST_KILLS says how often it is killed.

#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <iostream>
#include <new>
#include <random>
#include <thread>

#include "tests/integration/captures.h"
#include "tests/integration/footprint.h"

namespace qrv::testing {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;
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
    return capture.Check(plugin_, server_.screen());
  }

  std::string CaptureNil(const Capture& capture) {
    return capture.Named(capture(plugin_).has_value() ? "a picture of no server" : "");
  }

  // Captures until the server is killed: nil or the right picture.
  std::string CaptureWhileItDies() {
    // The longer delays let a few captures pass before.
    const KillLater killer(server_.pid(), microseconds(random_() % 12000));
    while (!killer.isDone()) {
      const Capture& capture = PickCapture();
      const Plugin::Picture picture = capture(plugin_);
      ++captures_;
      if (!picture.has_value()) {
        ++nils_;
        continue;
      }
      const auto difference = Difference(picture, Crop(server_.screen(), capture.part));
      if (!difference.empty()) return capture.Named(difference);
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

  const Footprint atStart_ = Footprint::Now();
  TwoMonitorServer server_;
  Plugin plugin_;
  std::mt19937 random_;
  int captures_ = 0;
  int nils_ = 0;
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
  EXPECT_EQ(now.state, atStart_.state);
  EXPECT_GE(nils_, kills / 4) << "too few servers died in the middle of a capture";
  std::cout << kills << " kills, " << captures_ << " captures meanwhile: " << nils_
            << " nil, the others right; mapped files " << warm.mappings << " to " << now.mappings
            << "\n";
}

// --- A server that hangs: each capture in a process of its own, all of them at a time. ---

// What passes between a test and its processes.
struct Stage {
  std::atomic<int> ready = 0, stopped = 0, past = 0, continued = 0;
};

void WaitUntil(const std::atomic<int>& count, int wanted) {
  const auto deadline = steady_clock::now() + std::chrono::seconds(30);
  while (count < wanted && steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  EXPECT_GE(count, wanted);
}

// What a host was doing when the server stopped.
enum Moment { kNothingYet, kBetweenCaptures, kCapturing };

// The body of a process.
void Endure(const TwoMonitorServer& server, const Capture& capture, Moment moment, Stage& stage) {
  Plugin plugin;
  if (moment != kNothingYet) capture(plugin);
  const Footprint before = Footprint::Now();
  ++stage.ready;
  if (moment != kCapturing) WaitUntil(stage.stopped, 1);
  for (bool isNil = false; !isNil && !::testing::Test::HasFailure();) {
    const auto start = steady_clock::now();
    const Plugin::Picture picture = capture(plugin);
    EXPECT_LT((steady_clock::now() - start) / 1ms, 5000);
    isNil = !picture.has_value();
    if (isNil) break;
    EXPECT_EQ(moment, kCapturing) << "a picture of a hung server";
    EXPECT_EQ(Difference(picture, Crop(server.screen(), capture.part)), "");
  }
  ++stage.past;
  WaitUntil(stage.continued, 1);
  EXPECT_EQ(capture.Check(plugin, server.screen()), "");
  if (moment == kNothingYet) return;
  EXPECT_EQ(Difference(Footprint::Now(), before), "");
}

class HungServers : public ::testing::TestWithParam<Moment> {};

TEST_P(HungServers, AreNilWithinFiveSecondsAndRightWhenTheyRunAgain) {
  void* const shared =
      mmap(nullptr, sizeof(Stage), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  Stage& stage = *new (shared) Stage;
  const TwoMonitorServer server;
  UseDesktop(server);
  std::vector<pid_t> processes;
  processes.reserve(kCaptures.size());
  for (const Capture& each : kCaptures) {
    processes.push_back(ForkTest([&] { Endure(server, each, GetParam(), stage); }));
  }
  const int all = static_cast<int>(processes.size());
  WaitUntil(stage.ready, all);
  std::this_thread::sleep_for(microseconds(std::mt19937(Seed())() % 50000));
  server.Stop();
  stage.stopped = 1;
  WaitUntil(stage.past, all);
  server.Continue();
  stage.continued = 1;
  for (size_t i = 0; i < processes.size(); ++i) {
    EXPECT_EQ(WaitForEnd(processes[i]), 0)
        << kCaptures[i].Named("failed; QRV_TEST_SEED=" + std::to_string(Seed()));
  }
  munmap(shared, sizeof(Stage));
}

INSTANTIATE_TEST_SUITE_P(When, HungServers,
                         ::testing::Values(kNothingYet, kBetweenCaptures, kCapturing));

}  // namespace
}  // namespace qrv::testing
