// Host entry points about pictures.
#ifndef RUNTIME_PICTURE_SERVICES_H_
#define RUNTIME_PICTURE_SERVICES_H_

#include "host/host_types.h"

namespace qrv::runtime {

// A new black picture with one reference; nil unless the depth is 32 and each side 1 ... 32767.
REALpictureStruct* NewPicture(long width, long height, long depth) noexcept;

// Grants the pixel type of the application's kind, once at a time, and describes the pixels.
bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                            long pixelType) noexcept;
// Hosts before version 2012.0 expect it after a refused lock too.
void UnlockPictureDescription(REALpictureStruct* picture) noexcept;
void PictureClearCache(REALpictureStruct* picture) noexcept;

// The picture's mask with a new reference, made on demand when `create` is not 0: black, opaque.
REALpictureStruct* GetPictureMask(REALpictureStruct* picture, unsigned char create) noexcept;

// What the picture can be drawn into with, with one reference; nil in console and web applications.
REALobjectStruct* GetPictureGraphics(REALpictureStruct* picture) noexcept;

// The property "HasAlphaChannel" of a picture; false for any other.
bool GetPropValueBool(REALobjectStruct* object, const char* name, unsigned char* out) noexcept;

}  // namespace qrv::runtime

#endif  // RUNTIME_PICTURE_SERVICES_H_
