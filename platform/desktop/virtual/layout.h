// The layouts of the virtual desktop.
//
//   layout   = entry { "," entry }                      1 to 32 entries, the first one main
//   entry    = width "x" height position position { option }
//   position = "+" number | "-" number | "+-" number    x, then y
//   option   = "@" ( "8" | "16" | "32" )                bits per pixel, 32 when not given
//            | "*" scale                                pixels per unit, 1 when not given
//   scale    = digit [ "." digit [ digit ] ]            1 to 4
//
// Numbers are decimal, with at most five digits and no blanks. Sizes and positions are bounds in
// units; "-100" and "+-100" both mean 100 units left of or above the origin. Each option is given
// at most once, in either order. A side in pixels is its units times the scale, rounded to the
// nearest, and lies in 1 to 32767; a position lies in -32767 to 32767. The whole layout is moved so
// that the main display's top-left corner is at (0, 0).
#ifndef PLATFORM_DESKTOP_VIRTUAL_LAYOUT_H_
#define PLATFORM_DESKTOP_VIRTUAL_LAYOUT_H_

#include <string>
#include <string_view>
#include <vector>

#include "platform/desktop/display.h"

namespace qrv::desktop {

inline constexpr std::string_view kDefaultLayout = "1440x900+0+0,1280x1024+1440+0";

// The displays of a layout, with identifiers 1, 2, ... in order. When the layout breaks the
// grammar: false, no displays, and one line in `message` that names the entry.
bool ParseLayout(std::string_view layout, std::vector<Display>& displays, std::string& message);

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_VIRTUAL_LAYOUT_H_
