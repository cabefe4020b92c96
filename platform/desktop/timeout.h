// How long a method call may wait for the desktop.
#ifndef PLATFORM_DESKTOP_TIMEOUT_H_
#define PLATFORM_DESKTOP_TIMEOUT_H_

#include <chrono>
#include <optional>

#include "platform/desktop/deadline.h"
#include "platform/desktop/peer/person.h"

namespace qrv::desktop {

// A method call begins with a list of displays, and has this budget for all of its waiting.
inline constexpr std::chrono::milliseconds kTimeout{3800};
// After a timeout the call falls back to its next strategy, which lists the displays again. Its
// budget is spent by then; this much more is enough for a desktop that has recovered.
inline constexpr std::chrono::milliseconds kTimeoutAfterTimeout{400};

class CallBudget {
 public:
  // Called before the displays are listed.
  void Begin() {
    const bool isSameCall = lastTimeout_ && Clock::now() - *lastTimeout_ < kSameCall;
    left_ = isSameCall ? kTimeoutAfterTimeout : kTimeout;
  }

  // Calls `wait` with a deadline and returns what it returns. Only this waiting uses up the budget:
  // neither the host's own work between two calls nor the time that a person takes to answer does.
  template <typename Wait>
  auto Spend(Wait wait) -> decltype(wait(Deadline())) {
    struct Stopwatch {
      ~Stopwatch() { left -= Clock::now() - start - TakePersonTime(); }
      Clock::duration& left;
      Clock::time_point start = Clock::now();
    };
    const Stopwatch stopwatch{left_};
    return wait(stopwatch.start + left_);
  }

  // The desktop did not answer in time.
  void RecordTimeout() { lastTimeout_ = Clock::now(); }

 private:
  // A list that follows a timeout this soon belongs to the same call.
  static constexpr std::chrono::milliseconds kSameCall{100};

  Clock::duration left_ = kTimeout;
  std::optional<Clock::time_point> lastTimeout_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_TIMEOUT_H_
