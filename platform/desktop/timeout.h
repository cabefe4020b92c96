// How long a method's call may wait for its desktop.
#ifndef PLATFORM_DESKTOP_TIMEOUT_H_
#define PLATFORM_DESKTOP_TIMEOUT_H_

#include <chrono>
#include <optional>

#include "platform/desktop/deadline.h"
#include "platform/desktop/peer/person.h"

namespace qrv::desktop {

// A call of a method begins with a list of displays, and has this time for all that it waits for.
inline constexpr std::chrono::milliseconds kTimeout{3800};
// It goes on to its next strategy as soon as the desktop has timed out, and lists the displays
// again. That list is of the same call, whose time is over; a desktop that runs again answers in
// this time.
inline constexpr std::chrono::milliseconds kTimeoutAfterTimeout{400};

class CallTime {
 public:
  // The displays are about to be listed.
  void Begin() {
    const bool isSameCall = lastTimeout_ && Clock::now() - *lastTimeout_ < kSameCall;
    left_ = isSameCall ? kTimeoutAfterTimeout : kTimeout;
  }

  // What `wait` yields, which gets a deadline. Waiting uses up the call's time; a host's own work
  // between two calls, or a person's answer, doesn't.
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
  static constexpr std::chrono::milliseconds kSameCall{100};

  Clock::duration left_ = kTimeout;
  std::optional<Clock::time_point> lastTimeout_;
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_TIMEOUT_H_
