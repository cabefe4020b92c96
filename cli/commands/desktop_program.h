// Programs of the desktop that qrvshot calls, one for each kind.
#ifndef CLI_COMMANDS_DESKTOP_PROGRAM_H_
#define CLI_COMMANDS_DESKTOP_PROGRAM_H_

#include <span>

namespace qrv::cli {

struct DesktopProgram {
  const char* name;
  const char* package;
  const char* variable;  // names the desktop that it works on
  const char* arguments[5];
};

// What programs are for, in words for messages.
struct Purpose {
  const char* lack;     // "There is no clipboard"
  const char* does;     // "copies"
  const char* instead;  // "choose a file with -o"
};

// The one that is installed and fits the desktop whose displays were listed last, else the session;
// its variable leads to that desktop from here on. Throws Failure, which says what to install.
const DesktopProgram& FindProgram(std::span<const DesktopProgram> programs, const Purpose& purpose);

}  // namespace qrv::cli

#endif  // CLI_COMMANDS_DESKTOP_PROGRAM_H_
