// The displays behind the masks by which OpenGL names them.
#ifndef PLATFORM_COREGRAPHICS_DISPLAY_LIST_H_
#define PLATFORM_COREGRAPHICS_DISPLAY_LIST_H_

#include <ApplicationServices/CoreGraphics.h>

#include <optional>

#include "platform/desktop/display.h"

namespace qrv::coregraphics {

// The display that the mask's lowest bit stands for: the one at that place of the latest
// list. Nothing when the list is shorter, or the mask empty.
std::optional<desktop::Display> DisplayOfMask(CGOpenGLDisplayMask mask) noexcept;

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_DISPLAY_LIST_H_
