// The file in which the portal leaves a picture.
#ifndef PLATFORM_DESKTOP_PORTAL_MODULE_PICTURE_FILE_H_
#define PLATFORM_DESKTOP_PORTAL_MODULE_PICTURE_FILE_H_

#include <string>

#include "platform/desktop/frame.h"

namespace qrv::desktop::portal {

// The path that a URI names; empty unless it is that of a local file.
std::string PathOfUri(const std::string& uri);

// Reads a PNG and deletes it, whether or not it can be read. The file must be a regular one, this
// user's own, and no link: any program may have written the URI, and the picture is the user's.
// Throws Error when it isn't, or is no PNG.
Frame TakePicture(const std::string& path);

}  // namespace qrv::desktop::portal

#endif  // PLATFORM_DESKTOP_PORTAL_MODULE_PICTURE_FILE_H_
