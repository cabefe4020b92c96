// Runs the built qrvshot as a user would.
#ifndef TESTS_UNIT_CLI_PROGRAM_H_
#define TESTS_UNIT_CLI_PROGRAM_H_

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/process.h"

namespace qrv::cli {

using testing::Outcome;
using testing::ScratchFolder;
using Words = std::vector<std::string>;

// Goes to the scratch folder, to the virtual desktop of two displays, without an X display.
// Standard input is the file "input" of the folder.
inline bool Prepare(const ScratchFolder& folder) {
  unsetenv("DISPLAY");
  unsetenv("QRV_SYSTEM_VERSION");
  setenv("QRV_DESKTOP", "virtual", 1);
  dup2(open(folder.File("input").c_str(), O_RDONLY), STDIN_FILENO);
  return chdir(folder.path().c_str()) == 0;
}

inline Outcome Qrvshot(const ScratchFolder& folder, Words arguments) {
  arguments.insert(arguments.begin(), QRV_BUILD_DIR "/qrvshot");
  return testing::RunProgram(arguments, [&] { return Prepare(folder); });
}

// The file that a capture with these arguments writes.
inline std::string Capture(Words arguments, const std::string& file = "shot.ppm") {
  const ScratchFolder folder;
  arguments.insert(arguments.begin(), "capture");
  arguments.insert(arguments.end(), {"-o", file});
  const Outcome outcome = Qrvshot(folder, arguments);
  return outcome.exitCode == 0 ? folder.Read(file) : outcome.errors;
}

}  // namespace qrv::cli

#endif  // TESTS_UNIT_CLI_PROGRAM_H_
