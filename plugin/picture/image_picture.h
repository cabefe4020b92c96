// CoreGraphics image to host picture.
#ifndef PLUGIN_PICTURE_IMAGE_PICTURE_H_
#define PLUGIN_PICTURE_IMAGE_PICTURE_H_

#include <ApplicationServices/ApplicationServices.h>
#include <screenshotqrv/host.h>

// A new host picture of the image's pixels, at one host reference that is the caller's, or nil when
// the image is nil or larger than a picture can be, or the platform or the host refuses. An image
// with alpha yields a picture whose colours are not multiplied by alpha and whose mask carries the
// transparency; any other an opaque one. The image stays the caller's. The colour space comes from
// the image, or is the generic RGB space; the second argument carries no meaning.
REALpictureStruct* GetCGImagePicture(CGImage* image, CGColorSpace* colorSpace = nullptr);

#endif  // PLUGIN_PICTURE_IMAGE_PICTURE_H_
