// Runs the built qrvshot as a user would.
#ifndef TESTS_UNIT_CLI_PROGRAM_H_
#define TESTS_UNIT_CLI_PROGRAM_H_

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/unit/cli/scratch_folder.h"

namespace qrv::cli {

struct Outcome {
  int exitCode = -1;
  std::string output;
  std::string errors;
};

// Starts in the scratch folder, on the virtual desktop of two displays unless the arguments say
// otherwise, and without an X display. Its words go to the files "out" and "err" of `streams`.
inline pid_t StartProgram(const ScratchFolder& folder, std::vector<std::string> arguments,
                          const ScratchFolder& streams) {
  arguments.insert(arguments.begin(), QRV_BUILD_DIR "/qrvshot");
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (std::string& argument : arguments) {
    words.push_back(argument.data());
  }
  words.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    const int output = open(streams.File("out").c_str(), O_WRONLY | O_CREAT, 0600);
    const int errors = open(streams.File("err").c_str(), O_WRONLY | O_CREAT, 0600);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    unsetenv("DISPLAY");
    unsetenv("QRV_SYSTEM_VERSION");
    setenv("QRV_DESKTOP", "virtual", 1);
    if (chdir(folder.File("").c_str()) == 0) {
      execv(words[0], words.data());
    }
    _exit(127);
  }
  return process;
}

inline Outcome RunProgram(const ScratchFolder& folder, std::vector<std::string> arguments) {
  const ScratchFolder streams;
  const pid_t process = StartProgram(folder, std::move(arguments), streams);
  int status = 0;
  waitpid(process, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, streams.Read("out"), streams.Read("err")};
}

}  // namespace qrv::cli

#endif  // TESTS_UNIT_CLI_PROGRAM_H_
