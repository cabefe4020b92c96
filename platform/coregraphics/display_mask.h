// OpenGL names displays by bits. A display gets a bit when its mask is first asked for and keeps
// it while it exists; the bits of displays that are gone serve again when all 32 are taken.
#ifndef PLATFORM_COREGRAPHICS_DISPLAY_MASK_H_
#define PLATFORM_COREGRAPHICS_DISPLAY_MASK_H_

#include <optional>

#include "platform/desktop/desktop.h"

namespace qrv::coregraphics {

// 0 when the latest list has no such display, or 32 others.
uint32_t MaskOfDisplay(uint32_t id) noexcept;

// The display of the latest list that the mask's lowest such bit stands for.
std::optional<desktop::Display> DisplayOfMask(uint32_t mask) noexcept;

}  // namespace qrv::coregraphics

#endif  // PLATFORM_COREGRAPHICS_DISPLAY_MASK_H_
