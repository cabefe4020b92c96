// The commands of the program. Each throws Failure.
#ifndef CLI_COMMANDS_H_
#define CLI_COMMANDS_H_

#include "cli/arguments.h"

namespace qrv::cli {

// Captures a display or a rectangle into an image file.
void Capture(const Arguments& arguments);
// Lists the displays.
void ShowDisplays(const Arguments& arguments);
// Lists the methods that the plug-in offers.
void ShowMethods(const Arguments& arguments);
// Writes a display's raw pixels.
void WriteRaw(const Arguments& arguments);
// Turns raw pixels into an image file.
void ConvertRaw(const Arguments& arguments);

}  // namespace qrv::cli

#endif  // CLI_COMMANDS_H_
