#include "cli/progress.h"

#include <stdio.h>
#include <unistd.h>

#include <utility>

namespace qrv::cli {

namespace {

constexpr std::chrono::milliseconds kFirst{1000};
constexpr std::chrono::milliseconds kBetween{100};
constexpr char kWipeLine[] = "\r\033[K";

}  // namespace

Progress::Progress(std::string what, int64_t total)
    : what_(std::move(what)),
      total_(total),
      wanted_(isatty(STDERR_FILENO) != 0),
      next_(Clock::now() + kFirst) {}

Progress::~Progress() {
  if (shown_) {
    fputs(kWipeLine, stderr);
  }
}

void Progress::Reach(int64_t done) {
  if (!wanted_ || Clock::now() < next_) {
    return;
  }
  next_ = Clock::now() + kBetween;
  shown_ = true;
  fprintf(stderr, "%sWriting %s: %d %%", kWipeLine, what_.c_str(),
          static_cast<int>(done * 100 / total_));
}

}  // namespace qrv::cli
