// Every allocation that a capture makes outside of the plug-in is refused once, and once with all
// that follow: the platform's, the host's, and those of the libraries that they call. The plug-in's
// own are refused in its unit tests. The picture is right or nil, nothing is left, and the next one
// is right.

#include <dlfcn.h>
#include <sys/wait.h>

#include <cerrno>

#include "tests/integration/plugin.h"

namespace {

constexpr long kNone = -1;
std::atomic<long> left = kNone;  // until the refused one, while methods run
std::atomic<bool> refusesRest = false, isRefused = false;

[[maybe_unused]] bool Refuse(const void* caller) {
  if (left == kNone || !qrv::testing::Plugin::isCalling) return false;
  Dl_info info;
  if (dladdr(caller, &info) != 0 && strstr(info.dli_fname, "ScreenshotQRV.so") != nullptr) {
    return false;
  }
  if (left > 0) {
    --left;
    return false;
  }
  isRefused = true;
  if (!refusesRest) left = kNone;
  errno = ENOMEM;
  return true;
}

}  // namespace

#if !defined(__SANITIZE_ADDRESS__)  // which has an allocator of its own

// The allocator of the whole process: the C library's, by its other names.
#define ALLOCATOR(name, its_name, parameters, ...)                                \
  void* its_name parameters;                                                      \
  void* name parameters {                                                         \
    return Refuse(__builtin_return_address(0)) ? nullptr : its_name(__VA_ARGS__); \
  }
extern "C" {
ALLOCATOR(malloc, __libc_malloc, (size_t size), size)
ALLOCATOR(calloc, __libc_calloc, (size_t count, size_t size), count, size)
ALLOCATOR(realloc, __libc_realloc, (void* memory, size_t size), memory, size)
ALLOCATOR(aligned_alloc, __libc_memalign, (size_t alignment, size_t size), alignment, size)
}

#endif

namespace qrv::testing {
namespace {

// Wrong is also how a process ends that a signal ends.
enum Outcome { kWrong, kRefused, kNotRefused };

class RefusedMemory : public ::testing::TestWithParam<const char*> {
 protected:
  static constexpr char kLayout[] = "180x200+0+0,140x200+180+0";  // the monitors' sizes

  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer has an allocator of its own";
#endif
    if (IsOn("X11")) server_.emplace();
    if (IsOn("Wayland")) compositor_.emplace();
    if (IsOn("Virtual")) UseDesktop(std::string("virtual:") + kLayout);
  }

  static bool IsOn(std::string_view desktop) { return GetParam() == desktop; }

  Image Expected(const Area& part) const {
    return server_       ? server_->Part(part)
           : compositor_ ? compositor_->Part(part)
                         : Cards(kLayout, part);
  }

  // Captures with one allocation refused, and once more.
  static Outcome Try(Plugin& plugin, const Capture& capture, const Image& expected, long n) {
    SCOPED_TRACE(n);
    isRefused = false;
    left = n;
    capture.ExpectRightOrNil(plugin, expected);
    left = kNone;
    capture.ExpectRight(plugin, expected);
    return HasFailure() ? kWrong : isRefused ? kRefused : kNotRefused;
  }

  // Refuses one allocation after the other, until there are no more; and then each with all that
  // follow it.
  template <typename Attempt>
  void RefuseEach(const Capture& capture, const Attempt& attempt) {
    const Image expected = Expected(capture.part);
    for (const bool rest : {false, true}) {
      refusesRest = rest;
      long n = 0;
      int outcome = kRefused;
      while (outcome == kRefused) outcome = attempt(expected, n++);
      EXPECT_EQ(outcome, kNotRefused) << capture.name << " on " << capture.system << ": " << n;
      EXPECT_GT(n, 5);
      std::cout << capture.name << " on " << capture.system << ": " << n - 1 << " refused\n";
    }
  }

  std::optional<TwoMonitors> server_;
  std::optional<TwoOutputs> compositor_;
};

TEST_P(RefusedMemory, OfALongLivedHostGivesTheRightPictureOrNil) {
  Plugin plugin;
  for (const Capture& capture : kCaptures) {
    RefuseEach(capture,
               [&](const Image& expected, long n) { return Try(plugin, capture, expected, n); });
  }
}

// In a process of its own each, which has bound and connected nothing before. A refusal while xcb
// waits for its first replies takes the whole patience, so of X11 the method that shows most stands
// for all.
TEST_P(RefusedMemory, OfAFirstCaptureGivesTheRightPictureOrNil) {
  for (const Capture& capture : kCaptures) {
    if (!IsOn("Virtual") && std::string(capture.name) != "AcrossBoth") continue;
    RefuseEach(capture, [&](const Image& expected, long n) {
      return WEXITSTATUS(WaitForEnd(Fork([&] {
        Plugin plugin;
        return Try(plugin, capture, expected, n);
      })));
    });
  }
}

INSTANTIATE_TEST_SUITE_P(On, RefusedMemory, ::testing::Values("Virtual", "X11", "Wayland"),
                         [](const auto& instance) { return std::string(instance.param); });

}  // namespace
}  // namespace qrv::testing
