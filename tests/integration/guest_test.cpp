// The plug-in as a guest: hosts do to their process what they like, and find it unharmed. Each row
// of the table is a deed between two captures; every test runs in a process of its own.

#include <fcntl.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <sstream>

#include "tests/integration/captures.h"
#include "tests/integration/footprint.h"

// A host that exports the frameworks' names, to be found by whatever asks for them.
extern "C" {
[[gnu::visibility("default")]] int QRVTestDecoyCalls = 0;
[[gnu::visibility("default"), gnu::used]] void* CFRelease(void*) {
  return ++QRVTestDecoyCalls, nullptr;
}
[[gnu::visibility("default"), gnu::used]] int Gestalt(int, int*) { return ++QRVTestDecoyCalls, 0; }
[[gnu::visibility("default"), gnu::used]] void* CGDisplayBounds(int) {
  return ++QRVTestDecoyCalls, nullptr;
}
[[gnu::visibility("default"), gnu::used]] void CopyBits() { ++QRVTestDecoyCalls; }
}

namespace qrv::testing {
namespace {

using std::chrono::steady_clock;

constexpr int kFirstOwn = STDERR_FILENO + 1;
constexpr int kMostDescriptors = 256;
constexpr char kText[] = "the host's own";

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }

// As a process does that becomes a daemon.
void CloseAllAboveTwo() {
  for (int fd = kFirstOwn; fd < 4 * kMostDescriptors; ++fd) close(fd);
}

// The host's own sockets, under all the numbers that there are room for; the peers' are further up.
class OwnSockets {
 public:
  OwnSockets() {
    for (int number = kFirstOwn; number < kFirstOwn + kCount; ++number) {
      int ends[2];
      if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::abort();
      const int peer = fcntl(ends[1], F_DUPFD, kMostDescriptors + number);
      close(ends[1]);
      if (ends[0] != number) std::abort();
      if (write(peer, kText, sizeof kText) != sizeof kText) std::abort();
    }
  }

  // Nobody has read from them, written to them, or closed them.
  std::string Difference() const {
    for (int number = kFirstOwn; number < kFirstOwn + kCount; ++number) {
      char text[sizeof kText + 1] = "";
      const ssize_t kept = recv(number, text, sizeof text, MSG_DONTWAIT);
      if (kept != sizeof kText) return "read from " + std::to_string(number);
      const int peer = kMostDescriptors + number;
      if (recv(peer, text, sizeof text, MSG_DONTWAIT) >= 0) {
        return "written to or closed " + std::to_string(number);
      }
    }
    return "";
  }

 private:
  static constexpr int kCount = 40;
};

struct Deed {
  const char* name;
  // Done after a first capture, or before one; yields what is to be checked at the end.
  bool isConnected;
  std::function<std::string()> (*act)();
};

const auto kNothingMore = [] { return std::string(); };

const Deed kDeeds[] = {
    {"ClosesAllDescriptors", true,
     []() -> std::function<std::string()> {
       CloseAllAboveTwo();
       return kNothingMore;
     }},
    {"ClosesAllDescriptorsAndOpensItsOwn", true,
     []() -> std::function<std::string()> {
       CloseAllAboveTwo();
       const OwnSockets sockets;
       return [sockets] { return sockets.Difference(); };
     }},
    {"HasTheStandardStreamsClosed", false,
     []() -> std::function<std::string()> {
       const int saved = fcntl(STDERR_FILENO, F_DUPFD, 100);
       for (int fd = 0; fd < kFirstOwn; ++fd) close(fd);
       return [saved] {
         std::string kept;
         for (int fd = 0; fd < kFirstOwn; ++fd) {
           if (IsOpen(fd)) kept += " " + std::to_string(fd);
         }
         for (int fd = 0; fd < kFirstOwn; ++fd) dup2(saved, fd);
         return kept.empty() ? "" : "kept descriptors" + kept;
       };
     }},
    {"MakesAllDescriptorsWait", true,
     []() -> std::function<std::string()> {
       for (int fd = 0; fd < kMostDescriptors; ++fd) {
         if (IsOpen(fd)) fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
       }
       return kNothingMore;
     }},
};

class Guest : public ::testing::TestWithParam<Deed> {
 protected:
  static void SetUpTestSuite() {
    const rlimit room = {4096, 4096};
    setrlimit(RLIMIT_NOFILE, &room);
  }

  // Nil or right, and in time.
  std::string CaptureInTime(const Capture& capture) {
    const auto start = steady_clock::now();
    const Plugin::Picture picture = capture(plugin_);
    if (steady_clock::now() - start > std::chrono::seconds(5)) return "hung";
    return picture.has_value() ? Difference(picture, Crop(server_.screen(), capture.part)) : "";
  }

  TwoMonitorServer server_;
  Plugin plugin_;
};

TEST_P(Guest, LeavesTheHostsOwnAloneAndIsRightAfterwards) {
  UseDesktop(server_);
  std::string problem;
  std::function<std::string()> check;
  for (const Capture& capture : kCaptures) {
    if (std::string(capture.name) != "AcrossBoth" && std::string(capture.name) != "RawMain")
      continue;
    if (GetParam().isConnected) problem += CaptureInTime(capture);
    check = GetParam().act();
    problem += CaptureInTime(capture);
    problem += capture.Check(plugin_, server_.screen());
    problem += check();
    EXPECT_EQ(problem, "") << capture.name << " on " << capture.system;
  }
}

INSTANTIATE_TEST_SUITE_P(OfAHostThat, Guest, ::testing::ValuesIn(kDeeds),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(GuestOfAThread, ThatIsCancelledIsSoAfterTheCapture) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer does not know of stacks that cancelling unwinds";
#endif
  const TwoMonitorServer server;
  UseDesktop(server);
  Plugin plugin;
  for (int i = 0; i < 30; ++i) {
    std::atomic<int> captures = 0;
    struct Work {
      Plugin& plugin;
      std::atomic<int>& captures;
    } work = {plugin, captures};
    pthread_t thread;
    const auto body = [](void* argument) -> void* {
      auto& [guest, count] = *static_cast<Work*>(argument);
      for (;;) {
        guest.host().Release(
            guest.host().Call(runtime::methods::kScreenshotRect, -10, 20, 350, 150));
        ++count;
        pthread_testcancel();
      }
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, body, &work), 0);
    while (captures < i % 4) usleep(100);
    usleep(static_cast<useconds_t>(i * 37));
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    ASSERT_EQ(result, PTHREAD_CANCELED);
  }
  for (const Capture& each : kCaptures) {
    EXPECT_EQ(each.Check(plugin, server.screen()), "");
  }
}

TEST(GuestOfAFullServer, NeedsOneClientSlotAndWritesNothing) {
  const TwoMonitorServer server({"-maxclients", "64"});
  UseDesktop(server);
  std::vector<xcb_connection_t*> clients;
  ::testing::internal::CaptureStderr();  // xcb's own, of the clients that are refused
  while (clients.empty() || xcb_connection_has_error(clients.back()) == 0) {
    clients.push_back(xcb_connect(server.display().c_str(), nullptr));
    ASSERT_LT(clients.size(), 100U);
  }
  ::testing::internal::GetCapturedStderr();
  ::testing::internal::CaptureStderr();
  Plugin plugin;
  EXPECT_FALSE(plugin.Main().has_value()) << "without a slot";
  xcb_disconnect(clients.back());
  clients.pop_back();
  xcb_disconnect(clients.back());
  clients.pop_back();
  for (int i = 0; i < 50 && !plugin.Main().has_value(); ++i) usleep(10000);
  EXPECT_EQ(kCaptures.front().Check(plugin, server.screen()), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  for (xcb_connection_t* client : clients) xcb_disconnect(client);
}

TEST(GuestOfAProcess, ThatUnloadsItHoldsAsMuchAfterAllRoundsAsAfterTheFirst) {
  const TwoMonitorServer server;
  UseDesktop(server);
  const std::string command = QRV_BUILD_DIR "/unload_probe " QRV_BUILD_DIR "/ScreenshotQRV.so 300";
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
  char line[256] = "";
  ASSERT_NE(fgets(line, sizeof line, output.get()), nullptr);
  int captures = 0;
  long files = 0, filesAfter = 0, mappings = 0, mappingsAfter = 0, kib = 0, kibAfter = 0;
  std::istringstream(line) >> captures >> files >> filesAfter >> mappings >> mappingsAfter >> kib >>
      kibAfter;
  EXPECT_EQ(captures, 300);
  EXPECT_EQ(filesAfter, files);
#if !defined(__SANITIZE_ADDRESS__)  // which keeps what was given back, and looks for leaks itself
  EXPECT_LE(mappingsAfter, mappings + 2);
  EXPECT_LE(kibAfter, kib + 1024) << line;
#endif
}

TEST(GuestOfAHost, ThatExportsTheFrameworksNamesCallsNoneOfThem) {
  const TwoMonitorServer server;
  UseDesktop(server);
  Plugin plugin;
  for (const Capture& each : kCaptures) {
    EXPECT_EQ(each.Check(plugin, server.screen()), "");
  }
  EXPECT_EQ(QRVTestDecoyCalls, 0);
}

}  // namespace
}  // namespace qrv::testing
