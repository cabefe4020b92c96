// The time by which another process must have answered.
#ifndef PLATFORM_DESKTOP_DEADLINE_H_
#define PLATFORM_DESKTOP_DEADLINE_H_

#include <chrono>

namespace qrv::desktop {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_DEADLINE_H_
