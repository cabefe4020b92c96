#include "plugin/picture/picture_editor.h"

#include <ApplicationServices/ApplicationServices.h>

#include "plugin/host/bridge.h"
#include "plugin/picture/picture_lock.h"

bool IsDesktop;
bool IsConsole;

namespace {

// Finds out the kind of host application by its classes. Always asks for all three.
void ProbeApplicationKind() {
  const bool desktop = REALGetClassRef(REALDesktopApplicationClass) != nullptr;
  const bool web = REALGetClassRef(REALWebApplicationClass) != nullptr;
  const bool console = REALGetClassRef(REALConsoleApplicationClass) != nullptr;
  if (desktop) {
    IsDesktop = true;
  } else if (web || console) {
    IsConsole = true;
  }
}

bool ReadHasAlpha(REALpictureStruct* picture) {
  unsigned char value = 0;
  return REALGetPropValueUInt8(AsObject(picture), REALHasAlphaChannelProperty, &value) &&
         value != 0;
}

}  // namespace

PictureEditor::~PictureEditor() { ReleasePicture(); }

void PictureEditor::ReleasePicture() {
  if (descriptionLocked) {
    if (picture != nullptr) REALUnlockPictureDescription(picture);
    descriptionLocked = false;
  }
  if (picture != nullptr) {
    if (clearCacheOnRelease) REALPictureClearCache(picture);
    REALUnlockObject(picture);
    picture = nullptr;
  }
}

bool PictureEditor::GetPictureEditor(REALpictureStruct* newPicture, signed char, signed char) {
  ReleasePicture();
  if (newPicture == nullptr) return false;
  clearCacheOnRelease = true;
  if (!IsDesktop && !IsConsole) ProbeApplicationKind();
  hasAlpha = ReadHasAlpha(newPicture);
  if (!IsConsole && LockContext(newPicture)) {
    if (UseContext() && Hold(newPicture)) return true;
  } else if (!IsDesktop && LockConsoleImage(newPicture)) {
    if (UseConsoleImage() && Hold(newPicture)) return true;
  } else {
    return false;
  }
  REALUnlockPictureDescription(newPicture);
  return false;
}

bool PictureEditor::LockContext(REALpictureStruct* newPicture) {
  if (!picture::LockDescription(newPicture, description, kPixelTypeBitmapContext)) return false;
  IsDesktop = true;
  return true;
}

bool PictureEditor::LockConsoleImage(REALpictureStruct* newPicture) {
  if (!picture::LockDescription(newPicture, description, kPixelTypeConsoleImage)) return false;
  IsConsole = true;
  return true;
}

// Uses the locked bitmap context; false when its layout is unsupported.
bool PictureEditor::UseContext() {
  if (description.pixelType != kPixelTypeBitmapContext || description.container == nullptr) {
    return false;
  }
  const auto context = static_cast<CGContextRef>(description.container);
  auto* data = static_cast<uint8_t*>(CGBitmapContextGetData(context));
  const size_t bitsPerPixel = CGBitmapContextGetBitsPerPixel(context);
  const size_t contextWidth = CGBitmapContextGetWidth(context);
  const size_t contextHeight = CGBitmapContextGetHeight(context);
  const size_t contextRowBytes = CGBitmapContextGetBytesPerRow(context);
  const uint32_t alphaInfo = CGBitmapContextGetAlphaInfo(context) & 7U;
  const uint32_t lastAccepted =
      hasAlpha ? kCGImageAlphaPremultipliedFirst : kCGImageAlphaNoneSkipFirst;
  if (alphaInfo < kCGImageAlphaPremultipliedLast || alphaInfo > lastAccepted) return false;
  if (bitsPerPixel != 32 || data == nullptr) return false;
  pixelFormat = static_cast<int32_t>(alphaInfo);
  rowBytes = static_cast<int32_t>(contextRowBytes);
  width = static_cast<int32_t>(contextWidth);
  height = static_cast<int32_t>(contextHeight);
  baseAddress = data;
  return true;
}

// Uses the locked console image; false when it is not a true-colour image with all of its rows.
bool PictureEditor::UseConsoleImage() {
  if (description.pixelType != kPixelTypeConsoleImage || description.container == nullptr) {
    return false;
  }
  const auto* image = static_cast<const ConsoleImage*>(description.container);
  if (image->pixels != nullptr || image->trueColor == 0 || image->tpixels == nullptr) return false;
  for (int32_t y = 0; y < description.height; ++y) {
    if (image->tpixels[y] == nullptr) return false;
  }
  pixelFormat = kConsolePixelFormat;
  width = description.width;
  height = description.height;
  rowBytes = 4 * width;
  rowTable = reinterpret_cast<uint8_t**>(image->tpixels);
  baseAddress = rowTable[0];
  return true;
}

// Adds the editor's own reference. False when the picture might not outlive the caller's reference.
bool PictureEditor::Hold(REALpictureStruct* newPicture) {
  if (!REALLockObject(newPicture)) return false;
  picture = newPicture;
  descriptionLocked = true;
  bytesPerPixel = 4;
  MoveToRow(0);
  return true;
}

REALpictureStruct* PictureEditor::RenderPictureWriter() {
  REALpictureStruct* result = picture;
  if (result != nullptr) {
    REALLockObject(result);
    REALPictureClearCache(result);
  }
  ReleasePicture();
  return result;
}

bool BindOwnPicture(PictureWriter& writer, REALpictureStruct* picture) {
  if (picture == nullptr) return false;
  const bool bound = writer.GetPictureEditor(picture, 0, 0);
  REALUnlockObject(picture);
  return bound;
}

bool BindNewPicture(PictureWriter& writer, int64_t width, int64_t height) {
  if (width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide) return false;
  return BindOwnPicture(
      writer, REALNewPicture(static_cast<long>(width), static_cast<long>(height), kPictureDepth));
}
