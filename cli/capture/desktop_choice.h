// Which desktop is captured, in words for the platform and in words for the user.
#ifndef CLI_CAPTURE_DESKTOP_CHOICE_H_
#define CLI_CAPTURE_DESKTOP_CHOICE_H_

#include <screenshotqrv/platform.h>

#include <string>
#include <vector>

#include "cli/arguments.h"

namespace qrv::cli {

// Passes --desktop, --system-version and --strategy on to the platform.
void ChooseDesktop(const Arguments& arguments);

// Whether the user asked for a generation of the system other than the default.
bool IsSystemVersionChosen();

// What a person calls the desktop.
inline std::string DesktopName() { return QRVDesktopName(); }

using Displays = std::vector<QRVDisplay>;

// The displays of the desktop. Throws Failure when there are none, saying why.
Displays RequireDisplays();

// The index of the display that the user calls so. Throws Failure when there is none.
int32_t ResolveDisplay(const Displays& displays, const std::string& name);

// Whether the display shows a part of the area, in units from the main display's corner.
bool Meets(const QRVDisplay& display, const Rect& area);

// Throws Failure when the desktop failed in the capture that has just been made: its result lacks a
// display then, which is black in it.
void RequirePixels(const std::string& subject);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_DESKTOP_CHOICE_H_
