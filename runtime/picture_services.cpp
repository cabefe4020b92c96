#include "runtime/picture_services.h"

#include <string.h>

#include "runtime/graphics.h"
#include "runtime/pictures.h"

namespace qrv::runtime {

namespace {

// The host when the picture is one of its own; else null, and the call is held against the plug-in.
HostState* HostOf(REALpictureStruct* picture) {
  HostState* host = CurrentHost();
  if (host == nullptr || IsAlive(*host, picture)) {
    return host;
  }
  ++host->ledger.violations;
  return nullptr;
}

}  // namespace

REALpictureStruct* NewPicture(long width, long height, long depth) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr || depth != 32) {
    return nullptr;
  }
  return UnlessOutOfMemory<REALpictureStruct*>(nullptr,
                                               [=] { return MakePicture(*host, width, height); });
}

bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                            long pixelType) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr) {
    return false;
  }
  const long ownType = picture->image != nullptr ? kPixelTypeConsoleImage : kPixelTypeBitmapContext;
  picture->lockRefused = !picture->HasPixels() || picture->locked || pixelType != ownType;
  if (picture->lockRefused) {
    return false;
  }
  picture->locked = true;
  ++host->ledger.pictureLocks;
  void* container = picture->image.get();
  if (container == nullptr) {
    container = picture->bitmap.get();
  }
  *description = {
      static_cast<int32_t>(pixelType), container, picture->width, picture->height, 0, 0};
  return true;
}

void UnlockPictureDescription(REALpictureStruct* picture) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr) {
    return;
  }
  const bool tolerated = picture->lockRefused && IsOlderThan(*host, 2012.0);
  picture->lockRefused = false;
  if (tolerated) {
    return;
  }
  if (!picture->locked) {
    ++host->ledger.violations;
    return;
  }
  picture->locked = false;
  --host->ledger.pictureLocks;
}

// The host keeps nothing rendered from a picture, so there is nothing to forget.
void PictureClearCache(REALpictureStruct* picture) noexcept { HostOf(picture); }

REALpictureStruct* GetPictureMask(REALpictureStruct* picture, unsigned char create) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr || !picture->HasPixels()) {
    return nullptr;
  }
  if (picture->mask != nullptr) {
    AddReference(*host, picture->mask);
    return picture->mask;
  }
  if (create == 0) {
    return nullptr;
  }
  return UnlessOutOfMemory<REALpictureStruct*>(nullptr, [=] {
    REALpictureStruct* mask = MakePicture(*host, picture->width, picture->height);
    if (mask != nullptr) {
      Keep(mask);
      picture->mask = mask;
    }
    return mask;
  });
}

REALobjectStruct* GetPictureGraphics(REALpictureStruct* picture) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr || picture->bitmap == nullptr) {
    return nullptr;
  }
  return UnlessOutOfMemory<REALobjectStruct*>(nullptr,
                                              [=] { return MakeGraphics(*host, *picture); });
}

bool GetPropValueBool(REALobjectStruct* object, const char* name, unsigned char* out) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr) {
    return false;
  }
  if (!IsAlive(*host, object)) {
    ++host->ledger.violations;
    return false;
  }
  const auto* picture = dynamic_cast<const REALpictureStruct*>(object);
  if (picture == nullptr || strcmp(name, "HasAlphaChannel") != 0) {
    return false;
  }
  *out = picture->hasAlpha ? 1 : 0;
  return true;
}

}  // namespace qrv::runtime
