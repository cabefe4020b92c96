// How far a long write has come, shown to a person who waits for it.
#ifndef CLI_PROGRESS_H_
#define CLI_PROGRESS_H_

#include <chrono>
#include <cstdint>
#include <string>

namespace qrv::cli {

// Writes to standard error, only when that is a terminal and after the first second. The line is
// wiped at the end.
class Progress {
 public:
  Progress(std::string what, int64_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Reach(int64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  int64_t total_;
  bool wanted_;
  bool shown_ = false;
  Clock::time_point next_;  // when to show it
};

}  // namespace qrv::cli

#endif  // CLI_PROGRESS_H_
