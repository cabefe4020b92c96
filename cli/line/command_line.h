// What the user typed, taken apart by the table of options.
#ifndef CLI_LINE_COMMAND_LINE_H_
#define CLI_LINE_COMMAND_LINE_H_

#include <optional>

#include "cli/arguments.h"

namespace qrv::cli {

// Nothing when the command line asked only for help, the version or completions, which have then
// been printed. Throws Failure for wrong usage.
//
// A shell asks for completions by `--complete WORD...`, the words behind the program's name up to
// the one that is to be completed. It gets a candidate per line, which may have its explanation
// behind a tab; FILE stands for all file names.
std::optional<Arguments> ParseArguments(int argc, const char* const* argv);

}  // namespace qrv::cli

#endif  // CLI_LINE_COMMAND_LINE_H_
