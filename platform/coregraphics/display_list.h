// The displays behind OpenGL's display masks.
#ifndef PLATFORM_COREGRAPHICS_DISPLAY_LIST_H_
#define PLATFORM_COREGRAPHICS_DISPLAY_LIST_H_

#include <ApplicationServices/CoreGraphics.h>

#include <optional>

#include "platform/desktop/display.h"

namespace qrv::coregraphics {

// The display of the mask's lowest bit, which is its index in the latest list. Nothing when the
// list is shorter, or the mask is empty.
std::optional<desktop::Display> DisplayOfMask(CGOpenGLDisplayMask mask) noexcept;

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_DISPLAY_LIST_H_
