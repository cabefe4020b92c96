// Runs the built qrvshot as a user would.
#ifndef TESTS_UNIT_CLI_PROGRAM_H_
#define TESTS_UNIT_CLI_PROGRAM_H_

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "tests/support/process.h"

namespace qrv::cli {

using testing::Outcome;
using testing::ScratchFolder;
using Words = std::vector<std::string>;

// The words of a line. A ~ is a space within one, and '' an empty one.
inline Words Split(const std::string& line) {
  std::istringstream input(line);
  Words words;
  for (std::string word; std::getline(input, word, ' ');) {
    if (word.empty()) continue;
    std::replace(word.begin(), word.end(), '~', ' ');
    words.push_back(word == "''" ? "" : word);
  }
  return words;
}

// Goes to the scratch folder, to the virtual desktop of two displays, without an X display.
// Standard input is the file "input" of the folder.
inline bool Prepare(const ScratchFolder& folder) {
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QRV_SYSTEM_VERSION"}) unsetenv(name);
  setenv("QRV_DESKTOP", "virtual", 1);
  dup2(open(folder.File("input").c_str(), O_RDONLY), STDIN_FILENO);
  return chdir(folder.path().c_str()) == 0;
}

inline Outcome Qrvshot(const ScratchFolder& folder, const std::string& line) {
  return testing::RunProgram(Split(QRV_BUILD_DIR "/qrvshot " + line),
                             [&] { return Prepare(folder); });
}

// The file that a capture with these arguments writes.
inline std::string Capture(const std::string& arguments, const std::string& file = "shot.ppm") {
  const ScratchFolder folder;
  const Outcome outcome = Qrvshot(folder, "capture -o " + file + " " + arguments);
  return outcome.exitCode == 0 ? folder.Read(file) : outcome.errors;
}

}  // namespace qrv::cli

#endif  // TESTS_UNIT_CLI_PROGRAM_H_
