// The picture files that the portal writes.
#ifndef PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PICTURE_FILE_H_
#define PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PICTURE_FILE_H_

#include <string>

#include "platform/desktop/frames/frame.h"
#include "platform/desktop/wayland/placed_output.h"

namespace qrv::desktop::wayland::session_bus {

// The path in a URI; empty unless it is the URI of a local file.
std::string PathOfUri(const std::string& uri);

// Whether a picture of that many pixels can show the whole desktop: whether one density within the
// outputs' bounds gives both sides to within a pixel.
bool CanShow(const Space& desktop, uint32_t width, uint32_t height);

// Reads a PNG of the whole desktop and deletes the file. Any program may have sent the URI, so the
// file must be a regular one that belongs to this user, and no link. Throws Error, and does not
// delete the file, when it isn't, or is no PNG of a size that can show the desktop.
Frame ReadAndDeletePicture(const std::string& path, const Space& desktop);

}  // namespace qrv::desktop::wayland::session_bus

#endif  // PLATFORM_DESKTOP_WAYLAND_SESSION_BUS_MODULE_PICTURE_FILE_H_
