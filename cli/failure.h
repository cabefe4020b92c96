// How the program ends, and the exception that carries a failure to main.
#ifndef CLI_FAILURE_H_
#define CLI_FAILURE_H_

#include <stdexcept>
#include <string>

namespace qrv::cli {

enum ExitCode { kDone = 0, kNothingCaptured = 1, kWrongUsage = 2, kCouldNotReadOrWrite = 3 };

// The message says what failed, on what, and what to try.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace qrv::cli

#endif  // CLI_FAILURE_H_
