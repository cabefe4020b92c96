// Which desktop is captured, in words for the platform and in words for the user.
#ifndef CLI_DESKTOP_CHOICE_H_
#define CLI_DESKTOP_CHOICE_H_

#include <string>
#include <vector>

#include "cli/arguments.h"
#include "runtime/displays.h"

namespace qrv::cli {

// Passes --desktop, --system-version and --strategy on to the platform.
void ChooseDesktop(const Arguments& arguments);

// The chosen desktop as a message names it: "X11 :0", "the virtual desktop".
std::string DesktopName();

// The displays of the desktop. Throws Failure when there are none, saying why.
std::vector<runtime::DisplayInfo> RequireDisplays();

// The display of that index; the main one when `index` is nothing. Throws Failure when there is
// none of that index.
const runtime::DisplayInfo& RequireDisplay(const std::vector<runtime::DisplayInfo>& displays,
                                           std::optional<int32_t> index);

}  // namespace qrv::cli

#endif  // CLI_DESKTOP_CHOICE_H_
