#include "plugin/picture/mask.h"

#include <string.h>

#include "plugin/host/bridge.h"
#include "plugin/picture/owned.h"
#include "plugin/picture/picture_lock.h"

namespace picture {
namespace {

using OwnedPicture = Owned<REALpictureStruct*, REALUnlockObject>;
using OwnedObject = Owned<REALobjectStruct*, REALUnlockObject>;

// A picture with an alpha channel, made by the constructor of the host's class; nil on hosts
// without one.
REALpictureStruct* ConstructPicture(int32_t width, int32_t height) {
  if (!(rbversion >= 2011.04)) return nullptr;
  OwnedObject instance(REALnewInstance(REALPictureClass));
  if (instance.get() == nullptr) return nullptr;
  const auto constructor = reinterpret_cast<REALPictureConstructorFunction>(
      REALLoadObjectMethod(instance.get(), REALPictureConstructorDeclaration));
  if (constructor == nullptr) return nullptr;
  constructor(instance.get(), width, height);
  return reinterpret_cast<REALpictureStruct*>(instance.Take());
}

// Draws the mask over the whole target through the target's graphics object; false when that has no
// method for it.
bool DrawMask(REALobjectStruct* graphics, REALpictureStruct* mask, int width, int height) {
  const auto draw = reinterpret_cast<REALDrawPictureFunction>(
      REALLoadObjectMethod(graphics, REALDrawPictureDeclaration));
  if (draw == nullptr) return false;
  draw(graphics, mask, 0, 0, width, height, 0, 0, width, height);
  return true;
}

bool IsTrueColour(const ConsoleImage* image) {
  return image != nullptr && image->pixels == nullptr && image->tpixels != nullptr;
}

void CopyConsoleRows(const ConsoleImage* source, const ConsoleImage* target) {
  if (!IsTrueColour(source) || !IsTrueColour(target)) return;
  if (source->sx != target->sx || source->sy != target->sy || source->sx < 1) return;
  const size_t rowBytes = static_cast<size_t>(source->sx) * 4;
  for (int32_t y = 0; y < source->sy; ++y) {
    if (target->tpixels[y] == nullptr || source->tpixels[y] == nullptr) return;
    memcpy(target->tpixels[y], source->tpixels[y], rowBytes);
  }
}

// Copies the mask's pixels into the target's, both locked as console images.
void CopyMask(REALpictureStruct* mask, REALpictureStruct* target) {
  REALpictureDescription maskPixels = {};
  if (!LockDescription(mask, maskPixels, kPixelTypeConsoleImage)) return;
  REALpictureDescription targetPixels = {};
  if (LockDescription(target, targetPixels, kPixelTypeConsoleImage)) {
    CopyConsoleRows(static_cast<const ConsoleImage*>(maskPixels.container),
                    static_cast<const ConsoleImage*>(targetPixels.container));
    REALUnlockPictureDescription(target);
  }
  REALUnlockPictureDescription(mask);
  REALPictureClearCache(target);
}

}  // namespace

bool BindMaskPicture(PictureWriter& mask, const PictureWriter& colour) {
  if (!colour.hasAlpha) return BindNewPicture(mask, colour.width, colour.height);
  return BindOwnPicture(mask, ConstructPicture(colour.width, colour.height));
}

void AttachMask(REALpictureStruct* colour, REALpictureStruct* maskPicture, int32_t width,
                int32_t height) {
  const OwnedPicture mask(maskPicture);
  const OwnedPicture target(REALGetPictureMask(colour, 1));
  if (target.get() == nullptr) return;
  const OwnedObject graphics(REALGetPictureGraphics(target.get()));
  if (graphics.get() != nullptr && DrawMask(graphics.get(), mask.get(), width, height)) return;
  CopyMask(mask.get(), target.get());
}

}  // namespace picture
