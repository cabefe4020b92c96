#include "plugin/picture/world_picture.h"

#include "plugin/picture/owned.h"
#include "plugin/picture/pixel_pass.h"
#include "plugin/quickdraw/quickdraw.h"

namespace {

using picture::Owned;
using picture::SourceLayout;
using picture::SourceRows;

using OwnedWorld = Owned<GWorldPtr, DisposeGWorld>;
using LockedPixels = Owned<PixMapHandle, UnlockPixels>;

// The layout of a world's pixels; false for an unsupported depth.
bool LayoutOfDepth(short depth, SourceLayout& layout) {
  switch (depth) {
    case 32:
      layout = SourceLayout::kAlphaRgb;
      return true;
    case 24:
      layout = SourceLayout::kRgb;
      return true;
    case 8:
      layout = SourceLayout::kGrey;
      return true;
    default:
      return false;
  }
}

}  // namespace

REALpictureStruct* REALBuildPictureFromGWorld(void* world, unsigned char) {
  if (world == nullptr) return nullptr;
  const OwnedWorld owned(static_cast<GWorldPtr>(world));
  Rect bounds = {};
  GetPortBounds(owned.get(), &bounds);
  SourceRows source = {};
  source.width = bounds.right - bounds.left;
  source.height = bounds.bottom - bounds.top;
  if (source.width < 1 || source.height < 1) return nullptr;
  PixMapHandle pixMap = GetGWorldPixMap(owned.get());
  if (pixMap == nullptr) return nullptr;
  if (!LayoutOfDepth(GetPixDepth(pixMap), source.layout)) return nullptr;
  if (!LockPixels(pixMap)) return nullptr;
  const LockedPixels locked(pixMap);
  source.top = reinterpret_cast<const uint8_t*>(GetPixBaseAddr(pixMap));
  if (source.top == nullptr) return nullptr;
  source.step = GetPixRowBytes(pixMap);
  PictureWriter writer;
  if (!BindNewPicture(writer, source.width, source.height)) return nullptr;
  picture::WriteRows(writer, source);
  return writer.RenderPictureWriter();
}
