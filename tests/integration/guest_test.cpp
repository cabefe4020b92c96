// The plug-in as a guest: hosts do to their process what they like between two captures, and find
// it unharmed. Every test runs in a process of its own.

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include "tests/integration/plugin.h"

// A host that exports the frameworks' and OpenGL's names, to be found by whatever asks for them.
#define DECOY(name) \
  [[gnu::visibility("default"), gnu::used]] void name() { ++QRVTestDecoyCalls; }
extern "C" {
int QRVTestDecoyCalls = 0;
DECOY(CFRelease)
DECOY(Gestalt)
DECOY(CGDisplayBounds)
DECOY(CopyBits)
DECOY(glFinish)
DECOY(glReadPixels)
}

namespace qrv::testing {
namespace {

constexpr int kFirstOwn = STDERR_FILENO + 1;
constexpr int kLastOwn = 42;
constexpr int kAbove = 100;

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }

// As a process does that becomes a daemon.
void CloseAllAboveTwo() { close_range(kFirstOwn, ~0U, 0); }

ino_t Inode(int fd) {
  struct stat status = {};
  EXPECT_EQ(fstat(fd, &status), 0) << fd;
  return status.st_ino;
}

// Opens a socket of the host's own, under all the numbers that there are room for. What it returns
// expects that nobody has read from it, written to it, or closed it.
std::function<void()> OpenOwnSocket() {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0 || ends[0] != kFirstOwn) std::abort();
  const int peer = fcntl(ends[1], F_DUPFD, kAbove);
  for (int number = kFirstOwn + 1; number <= kLastOwn; ++number) dup2(kFirstOwn, number);
  send(peer, "its own", 7, 0);
  return [peer, socket = Inode(kFirstOwn)] {
    for (int number = kFirstOwn; number <= kLastOwn; ++number) {
      EXPECT_EQ(Inode(number), socket) << number << " was closed";
    }
    char text[16];
    EXPECT_EQ(recv(kFirstOwn, text, sizeof text, MSG_DONTWAIT), 7) << "read from";
    EXPECT_EQ(recv(peer, text, sizeof text, MSG_DONTWAIT), -1) << "written to or closed";
  };
}

class Guest : public ::testing::Test {
 protected:
  // Captures, after a deed of the host's and, when it is done to a guest that is connected, before;
  // then checks what the deed yields.
  void CaptureAround(bool isConnected, const std::function<std::function<void()>()>& act) {
    for (const Capture& capture : kCaptures) {
      const std::string name = capture.name;
      if (name != "AcrossBoth" && name != "RawMain") continue;
      const Image expected = server_.Part(capture.part);
      if (isConnected) capture.ExpectRightOrNil(plugin_, expected);
      const std::function<void()> check = act();
      capture.ExpectRightOrNil(plugin_, expected);
      capture.ExpectRight(plugin_, expected);
      check();
    }
  }

  const TwoMonitors server_{{"-maxclients", "64"}};
  Plugin plugin_;
};

TEST_F(Guest, OfAHostThatClosesAllDescriptorsIsRightAfterwards) {
  CaptureAround(true, [] { return CloseAllAboveTwo(), [] {}; });
}

TEST_F(Guest, OfAHostThatOpensItsOwnInTheirPlaceLeavesThoseAlone) {
  CaptureAround(true, [] { return CloseAllAboveTwo(), OpenOwnSocket(); });
}

TEST_F(Guest, OfAHostWithTheStandardStreamsClosedTakesNoneOfThem) {
  CaptureAround(false, [] {
    const int saved = fcntl(STDERR_FILENO, F_DUPFD, kAbove);
    for (int fd = 0; fd < kFirstOwn; ++fd) close(fd);
    return [saved] {
      const bool isTaken[] = {IsOpen(0), IsOpen(1), IsOpen(2)};
      for (int fd = 0; fd < kFirstOwn; ++fd) dup2(saved, fd);
      EXPECT_THAT(isTaken, ::testing::Each(false));
    };
  });
}

TEST_F(Guest, OfAHostThatMakesAllDescriptorsWaitHangsNot) {
  CaptureAround(true, [] {
    for (int fd = 0; fd < 256; ++fd) {
      if (IsOpen(fd)) fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    }
    return [] {};
  });
}

TEST_F(Guest, OfAThreadThatIsCancelledLetsItBeAfterTheCapture) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer does not know of stacks that cancelling unwinds";
#endif
  static std::atomic<int> captures;
  const auto body = [](void* host) -> void* {
    for (;; ++captures) {
      auto& its = *static_cast<runtime::Host*>(host);
      its.Release(its.Call(methods::kScreenshotRect, -10, 20, 350, 150));
      pthread_testcancel();
    }
  };
  for (int i = 0; i < 30; ++i) {
    captures = 0;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, body, &plugin_.host()), 0);
    while (captures < i % 4) usleep(100);
    usleep(static_cast<useconds_t>(i * 37));
    pthread_cancel(thread);
    void* result = nullptr;
    pthread_join(thread, &result);
    ASSERT_EQ(result, PTHREAD_CANCELED);
  }
  ExpectAllRight(plugin_, server_);
}

TEST_F(Guest, OfAFullServerNeedsOneClientSlotAndWritesNothing) {
  std::vector<xcb_connection_t*> clients;
  ::testing::internal::CaptureStderr();  // xcb's own, of the clients that are refused
  while (clients.empty() || xcb_connection_has_error(clients.back()) == 0) {
    clients.push_back(xcb_connect(server_.display().c_str(), nullptr));
    ASSERT_LT(clients.size(), 100U);
  }
  ::testing::internal::GetCapturedStderr();
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(plugin_.Main().has_value()) << "without a slot";
  for (int i = 0; i < 2; ++i, clients.pop_back()) xcb_disconnect(clients.back());
  for (int i = 0; i < 50 && !plugin_.Main().has_value(); ++i) usleep(10000);
  ExpectAllRight(plugin_, server_);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  for (xcb_connection_t* client : clients) xcb_disconnect(client);
}

TEST_F(Guest, ThatIsUnloadedHoldsAsMuchAfterAllRoundsAsAfterTheFirst) {
  const Outcome outcome =
      RunProgram({QRV_BUILD_DIR "/end_probe", QRV_BUILD_DIR "/ScreenshotQRV.so", "300"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.output;
}

TEST_F(Guest, OfAHostThatEndsHarmsItNotWhateverItIsInTheMiddleOf) {
  for (int i = 0; i < 60; ++i) {
    const Outcome outcome =
        RunProgram({QRV_BUILD_DIR "/end_probe", QRV_BUILD_DIR "/ScreenshotQRV.so", "exit",
                    std::to_string(i * 100)});
    ASSERT_EQ(outcome.exitCode, 0) << i << outcome.errors;
  }
}

TEST_F(Guest, OfAHostThatExportsTheFrameworksNamesCallsNoneOfThem) {
  ExpectAllRight(plugin_, server_);
  EXPECT_EQ(QRVTestDecoyCalls, 0);
}

}  // namespace
}  // namespace qrv::testing
