// The desktop that this process shows and its latest list of displays, shared by the frameworks.
//
// QRV_DESKTOP chooses the desktop: "x11" or "x11:<display>", "virtual" or "virtual:<layout>".
// Unset or empty: X11 when DISPLAY is set, else no desktop. "x11" alone means the server of
// DISPLAY. Anything else, or a layout that does not parse, is no desktop. Both variables are read
// at every refresh (never in a process with raised privileges); a changed choice closes the old
// desktop and opens the new one. Frames of the old one stay valid.
//
// Like the frameworks' callers, the session is for one thread at a time.
#ifndef PLATFORM_DESKTOP_SESSION_H_
#define PLATFORM_DESKTOP_SESSION_H_

#include <optional>
#include <vector>

#include "platform/desktop/desktop.h"

namespace qrv::desktop {

// The framework facility that asks for pixels. Told apart so that a program can see which one
// delivered its capture.
enum class Reader : unsigned { kDisplayImage = 1, kOpenGL = 2, kQuickDraw = 4 };

// Asks the desktop for its displays anew and keeps the answer for FindDisplay. Null when there is
// no desktop or it can't be reached. The list is valid until the next refresh. Never throws.
const std::vector<Display>* RefreshDisplays() noexcept;

// The display of the latest list with that identifier (after a refresh when there is no list yet),
// or nothing.
std::optional<Display> FindDisplay(uint32_t id) noexcept;

// Desktop::Capture on the process's desktop, with the part clipped to the display's pixels by the
// caller. Records `reader` when it delivers.
Frame Capture(const Display& display, const PixelRect& part, Reader reader) noexcept;

}  // namespace qrv::desktop

extern "C" {
// The facilities that have delivered pixels since the last call, as bits of qrv::desktop::Reader;
// forgets them.
unsigned QRVTakeReaders(void);

// One line on why the last refresh found no desktop, or why the last capture failed; "" when all is
// well. Valid until the next refresh or capture.
const char* QRVDesktopProblem(void);

// The desktop of the last refresh as a person calls it: "X11 :0", "virtual desktop"; "no desktop"
// when there is none. Valid until the next refresh.
const char* QRVDesktopName(void);
}

#endif  // PLATFORM_DESKTOP_SESSION_H_
