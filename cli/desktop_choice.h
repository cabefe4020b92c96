// Which desktop is captured, in words for the platform and in words for the user.
#ifndef CLI_DESKTOP_CHOICE_H_
#define CLI_DESKTOP_CHOICE_H_

#include <string>
#include <vector>

#include "cli/arguments.h"
#include "runtime/desktop_view.h"

namespace qrv::cli {

// Passes --desktop, --system-version and --strategy on to the platform.
void ChooseDesktop(const Arguments& arguments);

// Whether the user asked for a generation of the system other than the default.
bool IsSystemVersionChosen();

using runtime::DesktopName;

// The displays of the desktop. Throws Failure when there are none, saying why.
std::vector<runtime::DisplayInfo> RequireDisplays();

// Throws Failure unless there is a display of that index, or no index.
void RequireDisplay(const std::vector<runtime::DisplayInfo>& displays,
                    std::optional<int32_t> index);

// Throws Failure when the desktop failed in the capture that has just been made: its result lacks a
// display then, which is black in it.
void RequirePixels(const std::string& subject);

}  // namespace qrv::cli

#endif  // CLI_DESKTOP_CHOICE_H_
