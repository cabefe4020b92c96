// A rectangle that the user marks with the mouse.
#ifndef CLI_COMMANDS_SELECT_H_
#define CLI_COMMANDS_SELECT_H_

#include "cli/commands/desktop_program.h"
#include "cli/parse_values.h"

namespace qrv::cli {

// slop on X11, slurp under Wayland. Throws Failure when it isn't there, saying what to install.
const DesktopProgram& FindSelectProgram();

// Waits until the user has marked one. In the desktop's own coordinates. Throws Failure.
Rect SelectRect(const DesktopProgram& program);

}  // namespace qrv::cli

#endif  // CLI_COMMANDS_SELECT_H_
