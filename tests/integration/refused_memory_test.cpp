// Every allocation that a capture makes outside of the plug-in is refused once: the platform's, the
// host's, and those of the libraries that they call. The picture is right or nil, nothing is left,
// and the next one is right.

#include <sys/wait.h>

#include <iostream>

#include "tests/integration/captures.h"
#include "tests/integration/refused_memory.h"

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
    if (IsVirtual()) {
      UseDesktop(std::string("virtual:") + kLayout);
    } else {
      UseDesktop(server_);
    }
  }

  static bool IsVirtual() { return std::string(GetParam()) == "Virtual"; }

  // Captures with one allocation refused, and once more.
  static Outcome Try(Plugin& plugin, const Capture& capture, const runtime::Image& expected,
                     long n) {
    RefuseAllocation(n);
    const Plugin::Picture picture = capture(plugin);
    const bool isRefused = WasAllocationRefused();
    if (picture) {
      EXPECT_EQ(capture.Named(Difference(picture, expected)), "") << n;
    }
    EXPECT_EQ(capture.Named(Difference(capture(plugin), expected)), "") << "after " << n;
    return HasFailure() ? kWrong : isRefused ? kRefused : kNotRefused;
  }

  // Refuses one allocation after the other, until there are no more.
  template <typename Attempt>
  void RefuseEach(const Capture& capture, const Attempt& attempt) {
    const runtime::Image expected =
        IsVirtual() ? Cards(kLayout, capture.part) : Crop(server_.screen(), capture.part);
    long n = 0;
    int outcome = kRefused;
    while (outcome == kRefused) outcome = attempt(expected, n++);
    EXPECT_EQ(outcome, kNotRefused) << capture.Named(std::to_string(n));
    EXPECT_GT(n, 5);
    std::cout << capture.Named(std::to_string(n - 1) + " allocations refused\n");
  }

  TwoMonitorServer server_;
};

TEST_P(RefusedMemory, OfALongLivedHostGivesTheRightPictureOrNil) {
  Plugin plugin;
  for (const Capture& capture : kCaptures) {
    RefuseEach(capture, [&](const runtime::Image& expected, long n) {
      return Try(plugin, capture, expected, n);
    });
  }
}

// In a process of its own each, which has bound and connected nothing before. A refusal while xcb
// waits for its first replies takes the whole patience, so of X11 the method that shows most stands
// for all.
TEST_P(RefusedMemory, OfAFirstCaptureGivesTheRightPictureOrNil) {
  for (const Capture& capture : kCaptures) {
    if (!IsVirtual() && std::string(capture.name) != "AcrossBoth") continue;
    RefuseEach(capture, [&](const runtime::Image& expected, long n) {
      const int status = WaitForEnd(Fork([&] {
        Plugin plugin;
        return Try(plugin, capture, expected, n);
      }));
      return WEXITSTATUS(status);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(On, RefusedMemory, ::testing::Values("Virtual", "X11"),
                         [](const auto& instance) { return std::string(instance.param); });

}  // namespace
}  // namespace qrv::testing
