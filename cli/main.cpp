#include <malloc.h>
#include <signal.h>
#include <stdio.h>

#include <new>
#include <string>

#include "cli/capture/desktop_choice.h"
#include "cli/commands/report.h"
#include "cli/failure.h"
#include "cli/line/command_line.h"
#include "cli/output/terminal.h"

namespace {

int Fail(qrv::cli::ExitCode code, const std::string& message) {
  fflush(stdout);
  qrv::cli::PrintLine(stderr, qrv::cli::Emphasis::kAlarm, "qrvshot:", " " + message);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  // The memory of one strip of a picture serves the next; else the system gives it each time.
  mallopt(M_MMAP_THRESHOLD, 8 << 20);
  mallopt(M_TRIM_THRESHOLD, 64 << 20);
  // A reader that has gone and a file that grows too long are reported as failed writes.
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
  try {
    if (const auto arguments = qrv::cli::ParseArguments(argc, argv)) {
      qrv::cli::ChooseDesktop(*arguments);
      arguments->command(*arguments);
    }
    qrv::cli::FlushReports();
  } catch (const qrv::cli::Failure& failure) {
    return Fail(failure.code(), failure.what());
  } catch (const std::bad_alloc&) {
    return Fail(qrv::cli::kNothingCaptured,
                "There is too little memory. Try a smaller part of the desktop.");
  } catch (const std::exception& error) {
    return Fail(qrv::cli::kNothingCaptured, error.what());
  }
  return qrv::cli::kDone;
}
