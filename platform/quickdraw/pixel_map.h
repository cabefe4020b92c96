// Pixel maps: records that describe the pixels of worlds and devices to programs.
#ifndef PLATFORM_QUICKDRAW_PIXEL_MAP_H_
#define PLATFORM_QUICKDRAW_PIXEL_MAP_H_

#include <ApplicationServices/QuickDraw.h>

#include <cstddef>

#if defined(__i386__)
static_assert(sizeof(Rect) == 8);
static_assert(sizeof(BitMap) == 14);
static_assert(sizeof(PixMap) == 50);
static_assert(offsetof(PixMap, rowBytes) == 4);
static_assert(offsetof(PixMap, bounds) == 6);
static_assert(offsetof(PixMap, pixelSize) == 32);
static_assert(offsetof(PixMap, pmExt) == 46);
static_assert(offsetof(GDevice, gdPMap) == 22);
static_assert(offsetof(GDevice, gdNextGD) == 30);
static_assert(offsetof(GDevice, gdRect) == 34);
#endif
static_assert(offsetof(PixMap, rowBytes) == offsetof(BitMap, rowBytes));
static_assert(offsetof(PixMap, bounds) == offsetof(BitMap, bounds));

namespace qrv::quickdraw {

// A map that programs get by handle or by address, and may copy. `pmExt` is the map's own address,
// which identifies it in a copy.
class OwnedMap {
 public:
  OwnedMap() = default;
  OwnedMap(const OwnedMap&) = delete;
  OwnedMap& operator=(const OwnedMap&) = delete;

  void Fill(const Rect& bounds, short depth, Ptr base, size_t rowBytes);

  PixMapHandle handle() { return &pointer_; }
  const PixMap& record() const { return record_; }
  const BitMap* bitMap() const { return reinterpret_cast<const BitMap*>(&record_); }
  const void* identity() const { return &record_; }

 private:
  PixMap record_ = {};
  PixMap* pointer_ = &record_;
};

// The identity of the map that `bits` is, or is a copy of; null when it is not a pixel map.
const void* IdentityOf(const BitMap* bits);

}  // namespace qrv::quickdraw

#endif  // PLATFORM_QUICKDRAW_PIXEL_MAP_H_
