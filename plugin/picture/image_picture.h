// Converting CoreGraphics images to host pictures.
#ifndef PLUGIN_PICTURE_IMAGE_PICTURE_H_
#define PLUGIN_PICTURE_IMAGE_PICTURE_H_

#include <ApplicationServices/ApplicationServices.h>
#include <screenshotqrv/host.h>

// A new host picture of the image's pixels, with one reference that is the caller's, or nil when
// the image is nil or larger than a picture can be, or the platform or the host refuses. The
// picture of an image with alpha has colours that are not multiplied by alpha, and a mask; that of
// any other image is opaque. The image stays the caller's. Its colour space is used, or else the
// generic RGB space; the second argument is ignored.
REALpictureStruct* GetCGImagePicture(CGImage* image, CGColorSpace* colorSpace = nullptr);

#endif  // PLUGIN_PICTURE_IMAGE_PICTURE_H_
