// The file in which the portal leaves a picture.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PICTURE_FILE_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PICTURE_FILE_H_

#include <string>

#include "platform/desktop/frames/frame.h"
#include "platform/desktop/wayland/placed_output.h"

namespace qrv::desktop::session_bus {

// The path that a URI names; empty unless it is that of a local file.
std::string PathOfUri(const std::string& uri);

// Whether a picture of that many pixels can show the whole desktop: at one density, which is among
// those of the outputs or between them, it fits to a pixel in both directions.
bool CanShow(const wayland::Space& desktop, uint32_t width, uint32_t height);

// Reads a PNG of the whole desktop and deletes it. Any program may have written the URI, and the
// picture is the user's: the file must be a regular one, this user's own, and no link. Throws
// Error, and leaves the file alone, when it isn't, or is no PNG of a size that can show the
// desktop.
Frame TakePicture(const std::string& path, const wayland::Space& desktop);

}  // namespace qrv::desktop::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PICTURE_FILE_H_
