#include "runtime/pictures.h"

#include <stdlib.h>
#include <string.h>

#include "runtime/entry_points.h"

namespace qrv::runtime {

namespace {

constexpr int kOpaque = -1;

// The parameters are byte offsets of a pixel's components in memory; kOpaque stands for no alpha.
// Pixels are read as little-endian words, so that the compiler can vectorise the loop.
template <int red, int green, int blue, int alpha>
void ReadRow(const uint8_t* pixels, int32_t width, uint8_t* rgba) {
  const auto component = [](uint32_t pixel, int offset) { return pixel >> (offset * 8) & 255; };
  for (int32_t x = 0; x < width; ++x) {
    uint32_t pixel = 0;
    memcpy(&pixel, pixels + size_t{4} * static_cast<size_t>(x), sizeof pixel);
    uint32_t result =
        component(pixel, red) | component(pixel, green) << 8 | component(pixel, blue) << 16;
    if constexpr (alpha == kOpaque) {
      result |= 255U << 24;
    } else {
      result |= component(pixel, alpha) << 24;
    }
    memcpy(rgba + size_t{4} * static_cast<size_t>(x), &result, sizeof result);
  }
}

RowReader ReaderOf(uint32_t alphaInfo) {
  switch (alphaInfo) {
    case kQRVLayoutRGBA:
      return ReadRow<0, 1, 2, 3>;
    case kQRVLayoutARGB:
      return ReadRow<1, 2, 3, 0>;
    case kQRVLayoutRGBX:
      return ReadRow<0, 1, 2, kOpaque>;
    case kQRVLayoutXRGB:
      return ReadRow<1, 2, 3, kOpaque>;
    default:
      return nullptr;
  }
}

// Rows are multiples of 16 bytes, as in the system's own bitmaps.
size_t BitmapRowBytes(size_t width) {
  constexpr size_t kRowAlignment = 16;
  return (width * 4 + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

bool GiveBitmap(const HostState& host, REALpictureStruct& picture, size_t width, size_t height) {
  const bool hasAlpha = host.options.picturesHaveAlpha;
  const uint32_t alphaInfo =
      host.options.bitmapAlphaInfo.value_or(hasAlpha ? kQRVLayoutARGB : kQRVLayoutXRGB);
  picture.readRow = ReaderOf(alphaInfo);
  picture.rowBytes = BitmapRowBytes(width);
  picture.memory = NewZeroedBlock(height * picture.rowBytes);
  if (!picture.memory || picture.readRow == nullptr) return false;
  picture.bitmap.reset(
      QRVCreateBitmapContext(picture.memory.get(), width, height, picture.rowBytes, alphaInfo));
  picture.hasAlpha = hasAlpha;
  return picture.bitmap != nullptr;
}

// A black, opaque image, whose rows are one zeroed block.
bool GiveConsoleImage(REALpictureStruct& picture, int32_t width, int32_t height) {
  const auto rowLength = static_cast<size_t>(width);
  const auto rowCount = static_cast<size_t>(height);
  picture.readRow = ReadRow<2, 1, 0, kOpaque>;
  decltype(picture.image) image(static_cast<ConsoleImage*>(calloc(1, sizeof(ConsoleImage))));
  if (!image) return false;
  image->tpixels = static_cast<int32_t**>(calloc(rowCount, sizeof(int32_t*)));
  if (image->tpixels == nullptr) return false;
  picture.memory = NewZeroedBlock(rowCount * rowLength * sizeof(int32_t));
  if (!picture.memory) return false;
  image->tpixels[0] = reinterpret_cast<int32_t*>(picture.memory.get());
  for (size_t y = 1; y < rowCount; ++y) image->tpixels[y] = image->tpixels[0] + y * rowLength;
  image->sx = width;
  image->sy = height;
  image->trueColor = 1;
  image->transparent = -1;
  image->thick = 1;
  picture.image = std::move(image);
  return true;
}

}  // namespace

void ConsoleImageDeleter::operator()(ConsoleImage* image) const {
  free(image->tpixels);
  free(image);
}

REALpictureStruct* MakeEmptyPicture(HostState& host) {
  auto* picture =
      static_cast<REALpictureStruct*>(Admit(host, std::make_unique<REALpictureStruct>()));
  AddReference(host, picture);
  return picture;
}

bool GivePixels(const HostState& host, REALpictureStruct& picture, long width, long height) {
  const bool fits =
      width >= 1 && height >= 1 && width <= kMaxPictureSide && height <= kMaxPictureSide;
  if (!fits || picture.HasPixels()) return false;
  const bool given =
      host.options.application == ApplicationKind::kDesktop
          ? GiveBitmap(host, picture, static_cast<size_t>(width), static_cast<size_t>(height))
          : GiveConsoleImage(picture, static_cast<int32_t>(width), static_cast<int32_t>(height));
  if (given) {
    picture.width = static_cast<int32_t>(width);
    picture.height = static_cast<int32_t>(height);
  }
  return given;
}

REALpictureStruct* MakePicture(HostState& host, long width, long height) {
  REALpictureStruct* picture = MakeEmptyPicture(host);
  if (!GivePixels(host, *picture, width, height)) {
    DropReference(host, picture);
    return nullptr;
  }
  return picture;
}

void ReadPictureRow(const REALpictureStruct& picture, int32_t y, uint8_t* rgba) {
  picture.readRow(picture.Row(y), picture.width, rgba);
  if (picture.mask == nullptr) return;
  const uint8_t* grey = picture.mask->Row(y);
  // The second byte of a pixel is a colour in every layout.
  for (int32_t x = 0; x < picture.width; ++x) {
    rgba[x * 4 + 3] = static_cast<uint8_t>(255 - grey[x * 4 + 1]);
  }
}

REALpictureStruct* NewPicture(long width, long height, long depth) noexcept {
  HostState* host = CurrentHost();
  if (host == nullptr || depth != kPictureDepth) return nullptr;
  return Guarded([=] { return MakePicture(*host, width, height); });
}

bool LockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description,
                            long pixelType) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr) return false;
  const long ownType = picture->image ? kPixelTypeConsoleImage : kPixelTypeBitmapContext;
  picture->lockRefused = !picture->HasPixels() || picture->locked || pixelType != ownType;
  if (picture->lockRefused) return false;
  if (HasEntryPoint(REALUnlockPictureDescriptionName)) {
    picture->locked = true;
    ++host->ledger.pictureLocks;
  }
  void* container = picture->image.get();
  if (container == nullptr) container = picture->bitmap.get();
  *description = {
      static_cast<int32_t>(pixelType), container, picture->width, picture->height, 0, 0};
  return true;
}

void UnlockPictureDescription(REALpictureStruct* picture) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr) return;
  const bool refused =
      picture->lockRefused || ResolveEntryPoint(REALLockPictureDescriptionName) == nullptr;
  picture->lockRefused = false;
  if (refused && IsOlderThan(*host, 2012.0)) return;
  if (!picture->locked) {
    ++host->ledger.violations;
    return;
  }
  picture->locked = false;
  --host->ledger.pictureLocks;
}

// This host has no cache; it only checks the picture.
void PictureClearCache(REALpictureStruct* picture) noexcept { HostOf(picture); }

REALpictureStruct* GetPictureMask(REALpictureStruct* picture, unsigned char create) noexcept {
  HostState* host = HostOf(picture);
  if (host == nullptr || !picture->HasPixels()) return nullptr;
  if (picture->mask != nullptr) {
    AddReference(*host, picture->mask);
    return picture->mask;
  }
  if (create == 0) return nullptr;
  return Guarded([=] {
    REALpictureStruct* mask = MakePicture(*host, picture->width, picture->height);
    if (mask != nullptr) {
      Keep(mask);
      picture->mask = mask;
    }
    return mask;
  });
}

bool GetPropValueBool(REALobjectStruct* object, const char* name, unsigned char* out) noexcept {
  if (HostOf(object) == nullptr) return false;
  const auto* picture = dynamic_cast<const REALpictureStruct*>(object);
  if (picture == nullptr || strcmp(name, REALHasAlphaChannelProperty) != 0) return false;
  *out = picture->hasAlpha ? 1 : 0;
  return true;
}

}  // namespace qrv::runtime

void REALpictureStruct::DropKept(qrv::runtime::HostState& host) {
  if (locked) {
    ++host.ledger.violations;
    --host.ledger.pictureLocks;
  }
  if (mask != nullptr) qrv::runtime::Drop(host, mask);
}

uint8_t* REALpictureStruct::Row(int32_t y) const {
  const auto row = static_cast<size_t>(y);
  return image ? reinterpret_cast<uint8_t*>(image->tpixels[row]) : memory.get() + row * rowBytes;
}
