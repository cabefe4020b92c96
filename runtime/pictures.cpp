#include "runtime/pictures.h"

#include <stdlib.h>

namespace qrv::runtime {

namespace {

constexpr int kOpaque = -1;

// Byte offsets of a pixel's components in memory; kOpaque for no alpha.
template <int red, int green, int blue, int alpha>
void ReadRow(const uint8_t* pixels, int32_t width, uint8_t* rgba) {
  for (int32_t x = 0; x < width; ++x, pixels += 4, rgba += 4) {
    rgba[0] = pixels[red];
    rgba[1] = pixels[green];
    rgba[2] = pixels[blue];
    if constexpr (alpha == kOpaque) {
      rgba[3] = 255;
    } else {
      rgba[3] = pixels[alpha];
    }
  }
}

struct BitmapLayout {
  uint32_t alphaInfo;
  RowReader readRow;
};

constexpr BitmapLayout kBitmapLayouts[] = {
    {kCGImageAlphaPremultipliedLast, ReadRow<0, 1, 2, 3>},
    {kCGImageAlphaPremultipliedFirst, ReadRow<1, 2, 3, 0>},
    {kCGImageAlphaNoneSkipLast, ReadRow<0, 1, 2, kOpaque>},
    {kCGImageAlphaNoneSkipFirst, ReadRow<1, 2, 3, kOpaque>},
};

RowReader ReaderOf(uint32_t alphaInfo) {
  for (const BitmapLayout& layout : kBitmapLayouts) {
    if (layout.alphaInfo == alphaInfo) {
      return layout.readRow;
    }
  }
  return nullptr;
}

// The context allocates rows of whole 16 bytes, as the system's own bitmaps do.
constexpr size_t kRowAlignment = 16;

bool GiveBitmap(const HostState& host, REALpictureStruct& picture, size_t width, size_t height) {
  const bool hasAlpha = host.options.picturesHaveAlpha;
  const uint32_t alphaInfo = host.options.bitmapAlphaInfo.value_or(
      hasAlpha ? kCGImageAlphaPremultipliedFirst : kCGImageAlphaNoneSkipFirst);
  picture.readRow = ReaderOf(alphaInfo);
  picture.rowBytes = (width * 4 + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
  picture.memory.reset(static_cast<uint8_t*>(calloc(height, picture.rowBytes)));
  if (picture.memory == nullptr || picture.readRow == nullptr) {
    return false;
  }
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  picture.bitmap.reset(CGBitmapContextCreate(picture.memory.get(), width, height, 8,
                                             picture.rowBytes, space, alphaInfo));
  if (space != nullptr) {
    CGColorSpaceRelease(space);
  }
  picture.hasAlpha = hasAlpha;
  return picture.bitmap != nullptr;
}

bool GiveConsoleImage(REALpictureStruct& picture, int32_t width, int32_t height) {
  picture.readRow = ReadRow<2, 1, 0, kOpaque>;
  picture.image = MakeConsoleImage(width, height);
  return picture.image != nullptr;
}

}  // namespace

void MemoryDeleter::operator()(void* memory) const { free(memory); }

REALpictureStruct* MakeEmptyPicture(HostState& host) {
  auto* picture =
      static_cast<REALpictureStruct*>(Admit(host, std::make_unique<REALpictureStruct>()));
  AddReference(host, picture);
  return picture;
}

bool GivePixels(const HostState& host, REALpictureStruct& picture, long width, long height) {
  const bool fits =
      width >= 1 && height >= 1 && width <= kMaximumPictureSide && height <= kMaximumPictureSide;
  if (!fits || picture.HasPixels()) {
    return false;
  }
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
  if (picture.mask == nullptr) {
    return;
  }
  const uint8_t* grey = picture.mask->Row(y);
  // The component next to the middle of a pixel is one of its colours in every layout.
  for (int32_t x = 0; x < picture.width; ++x) {
    rgba[x * 4 + 3] = static_cast<uint8_t>(255 - grey[x * 4 + 1]);
  }
}

}  // namespace qrv::runtime

void REALpictureStruct::LetGoOfOthers(qrv::runtime::HostState& host) {
  if (locked) {
    ++host.ledger.violations;
    --host.ledger.pictureLocks;
  }
  if (mask != nullptr) {
    qrv::runtime::LetGo(host, mask);
  }
}

uint8_t* REALpictureStruct::Row(int32_t y) const {
  const auto row = static_cast<size_t>(y);
  return image != nullptr ? reinterpret_cast<uint8_t*>(image->tpixels[row])
                          : memory.get() + row * rowBytes;
}
