// The display server dies and hangs while it is captured; the host lives on and nothing stays.
// QRV_TEST_KILLS says how often it is killed.

#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include "tests/integration/plugin.h"
#include "tests/support/holdings.h"

namespace qrv::testing {
namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;
using std::chrono::steady_clock;

// The servers, and how many times as long as an X server they take to capture and to come back.
struct XServer : TwoMonitors {
  static constexpr unsigned kSlowness = 1;
};
struct Compositor : TwoOutputs {
  static constexpr unsigned kSlowness = 4;
  void Prepare() const {}
};
using Servers = ::testing::Types<XServer, Compositor>;

template <typename Server>
class DyingServer : public ::testing::Test {
 protected:
  const Capture& PickCapture() { return kCaptures[random_() % kCaptures.size()]; }

  // Captures until the server is killed: nil or the right picture.
  void CaptureWhileItDies() {
    std::atomic<bool> isDead = false;
    // The longer delays let a few captures pass before.
    const std::jthread killer(
        [&isDead, pid = server_.pid(), delay = random_() % (12000U * Server::kSlowness)] {
          std::this_thread::sleep_for(microseconds(delay));
          kill(pid, SIGKILL);
          isDead = true;
        });
    while (!isDead) {
      const Capture& capture = PickCapture();
      const bool isPicture = capture.ExpectRightOrNil(plugin_, server_.Part(capture.part));
      ++(isPicture ? pictures_ : nils_);
    }
  }

  void DieAndComeBack() {
    const Capture& first = PickCapture();
    const bool isConnected = random_() % 2 == 0;
    if (isConnected) first.ExpectRight(plugin_, server_.Part(first.part));
    CaptureWhileItDies();
    server_.Kill();
    for (int i = 0; i < 3; ++i) EXPECT_FALSE(PickCapture().ExpectRightOrNil(plugin_, {}));
    server_.Restart();
    server_.Prepare();
  }

  const std::multiset<std::string> atStart_ = SignalsAndThreads();
  Server server_;
  Plugin plugin_;
  std::mt19937 random_{Seed()};
  int pictures_ = 0;
  int nils_ = 0;
};

TYPED_TEST_SUITE(DyingServer, Servers);

TYPED_TEST(DyingServer, LeavesTheHostAliveAndWithoutATrace) {
  const int kills = Setting("QRV_TEST_KILLS", 40) / static_cast<int>(TypeParam::kSlowness);
  const int warmUp = std::max(kills / 4, 1);
  std::optional<Holdings> warm;
  for (int i = 0; i < kills; ++i) {
    this->DieAndComeBack();
    if (i + 1 == warmUp) {
      ExpectAllRight(this->plugin_, this->server_);
      warm.emplace();
    }
    ASSERT_FALSE(this->HasFailure()) << "kill " << i << ", QRV_TEST_SEED=" << Seed();
  }
  ExpectAllRight(this->plugin_, this->server_);
  const Holdings now;
  EXPECT_THAT(now.files, ::testing::ContainerEq(warm->files));
  EXPECT_LE(now.mappedFiles, warm->mappedFiles + 2);
  EXPECT_THAT(SignalsAndThreads(), ::testing::ContainerEq(this->atStart_));
  EXPECT_GE(this->nils_, kills / 4) << "too few servers died in the middle of a capture";
  std::cout << kills << " kills, captures meanwhile: " << this->nils_ << " nil, " << this->pictures_
            << " right; mapped files " << warm->mappedFiles << " to " << now.mappedFiles << "\n";
}

// --- A server that hangs: each capture in a process of its own, all of them at a time. ---

// What passes between a test and its processes.
struct Stage {
  std::atomic<int> ready = 0, stopped = 0, past = 0, continued = 0;
};

void WaitUntil(const std::atomic<int>& count, int wanted) {
  const auto deadline = steady_clock::now() + 30s;
  while (count < wanted && steady_clock::now() < deadline) std::this_thread::sleep_for(1ms);
  EXPECT_GE(count, wanted);
}

// What a host was doing when the server stopped.
enum Moment { kNothingYet, kBetweenCaptures, kCapturing };

// The body of a process.
void Endure(const Capture& capture, const Image& expected, Moment moment, Stage& stage) {
  Plugin plugin;
  if (moment != kNothingYet) capture.ExpectRight(plugin, expected);
  const Holdings before;
  const auto stateBefore = SignalsAndThreads();
  ++stage.ready;
  if (moment != kCapturing) WaitUntil(stage.stopped, 1);
  while (capture.ExpectRightOrNil(plugin, expected) && !::testing::Test::HasFailure()) {
    EXPECT_EQ(moment, kCapturing) << "a picture of a hung server";
  }
  ++stage.past;
  WaitUntil(stage.continued, 1);
  std::this_thread::sleep_for(200ms);  // a call that follows a timeout at once has little time
  capture.ExpectRight(plugin, expected);
  EXPECT_THAT(SignalsAndThreads(), ::testing::ContainerEq(stateBefore));
  if (moment == kNothingYet) return;
  EXPECT_THAT(Holdings().files, ::testing::ContainerEq(before.files));
}

template <typename Server>
void HangAndRunAgain(Moment moment) {
  const Shared<Stage> shared;
  Stage& stage = *shared;
  const Server server;
  std::vector<pid_t> processes;
  processes.reserve(kCaptures.size());
  for (const Capture& each : kCaptures) {
    processes.push_back(ForkTest([&] { Endure(each, server.Part(each.part), moment, stage); }));
  }
  const int all = static_cast<int>(processes.size());
  WaitUntil(stage.ready, all);
  std::this_thread::sleep_for(microseconds(std::mt19937(Seed())() % 50000));
  server.Stop();
  stage.stopped = 1;
  WaitUntil(stage.past, all);
  server.Continue();
  stage.continued = 1;
  for (const pid_t each : processes) EXPECT_EQ(WaitForEnd(each), 0) << "QRV_TEST_SEED=" << Seed();
}

// Each is nil within five seconds, and right when it runs again.
template <typename Server>
class HungServer : public ::testing::Test {};
TYPED_TEST_SUITE(HungServer, Servers);

TYPED_TEST(HungServer, FoundAtTheFirstCapture) { HangAndRunAgain<TypeParam>(kNothingYet); }
TYPED_TEST(HungServer, HangsBetweenCaptures) { HangAndRunAgain<TypeParam>(kBetweenCaptures); }
TYPED_TEST(HungServer, HangsDuringACapture) { HangAndRunAgain<TypeParam>(kCapturing); }

}  // namespace
}  // namespace qrv::testing
