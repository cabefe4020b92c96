#include "platform/quickdraw/pixel_map.h"

#include <cstring>

namespace qrv::quickdraw {
namespace {

constexpr short kPixelMapBit = -0x8000;
constexpr size_t kMaxFieldRowBytes = 0x3FFF;
constexpr Fixed k72DotsPerInch = 72 << 16;
constexpr short kIndexedPixels = 0;
constexpr short kDirectPixels = 16;

}  // namespace

// The record's rowBytes is 0 when the field is too small for it.
void OwnedMap::Fill(const Rect& bounds, short depth, Ptr base, size_t rowBytes) {
  const bool direct = depth != 8;
  record_ = PixMap{};
  record_.baseAddr = base;
  record_.rowBytes = static_cast<short>(
      kPixelMapBit | (rowBytes <= kMaxFieldRowBytes ? static_cast<int>(rowBytes) : 0));
  record_.bounds = bounds;
  record_.hRes = k72DotsPerInch;
  record_.vRes = k72DotsPerInch;
  record_.pixelType = direct ? kDirectPixels : kIndexedPixels;
  record_.pixelSize = depth;
  record_.cmpCount = direct ? 3 : 1;
  record_.cmpSize = depth == 16 ? 5 : 8;
  record_.pixelFormat = static_cast<OSType>(depth);
  record_.pmExt = &record_;
}

const void* IdentityOf(const BitMap* bits) {
  if (bits == nullptr || bits->rowBytes >= 0) return nullptr;
  PixMap copy;
  memcpy(&copy, bits, sizeof(copy));
  return copy.pmExt;
}

}  // namespace qrv::quickdraw
