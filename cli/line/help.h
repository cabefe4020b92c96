// Help on the program and its commands.
#ifndef CLI_LINE_HELP_H_
#define CLI_LINE_HELP_H_

#include <string>

#include "cli/line/options.h"

namespace qrv::cli {

// For 80 columns, in a screenful: what it does, examples, options by heading, notes.
std::string Help(const CommandEntry& command);

// Its options for people who test the plug-in.
std::string TestingHelp(const CommandEntry& command);

}  // namespace qrv::cli

#endif  // CLI_LINE_HELP_H_
