// Windows, and the one that the user means.
#ifndef CLI_CAPTURE_WINDOW_CHOICE_H_
#define CLI_CAPTURE_WINDOW_CHOICE_H_

#include <screenshotqrv/platform.h>

#include <string>
#include <vector>

namespace qrv::cli {

using Windows = std::vector<QRVWindow>;

// The windows of the desktop, the top one first. Throws Failure when the desktop lists none, saying
// what to do instead.
Windows RequireWindows();

// The window that the user calls so: "active", its id, its title, or a part of its title or
// program's name, in whatever case, that fits no other window. Throws Failure when there is none,
// or it isn't on the screen.
QRVWindow ResolveWindow(const Windows& windows, const std::string& name);

}  // namespace qrv::cli

#endif  // CLI_CAPTURE_WINDOW_CHOICE_H_
