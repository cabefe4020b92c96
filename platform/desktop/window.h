// Windows.
#ifndef PLATFORM_DESKTOP_WINDOW_H_
#define PLATFORM_DESKTOP_WINDOW_H_

#include <screenshotqrv/platform.h>

#include <cstdint>

#include "platform/desktop/frames/pixel_rect.h"

namespace qrv::desktop {

// The numbers are those that hosts get.
enum class WindowState : int32_t {
  kShown = kQRVWindowShown,
  kMinimized = kQRVWindowMinimized,
  kElsewhere = kQRVWindowElsewhere,
};

// Rectangles are in units of the global space.
struct Window {
  uint64_t id = 0;    // as the desktop's own programs call it
  PixelRect frame;    // with title bar and borders, without a shadow
  PixelRect content;  // without those that the window manager draws
  WindowState state = WindowState::kShown;
  bool isActive = false;
  char title[256] = "";
  char program[64] = "";
};

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_WINDOW_H_
