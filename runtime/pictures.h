// Pictures of the host, in the pixel form of its kind of application.
#ifndef RUNTIME_PICTURES_H_
#define RUNTIME_PICTURES_H_

#include <screenshotqrv/platform.h>

#include <cstdint>
#include <memory>

#include "runtime/blocks.h"
#include "runtime/objects.h"

namespace qrv::runtime {

struct ContextDeleter {
  void operator()(void* context) const { QRVReleaseBitmapContext(context); }
};
struct ConsoleImageDeleter {
  void operator()(ConsoleImage* image) const;
};

// Turns one row of a picture's pixels into red, green, blue, alpha.
using RowReader = void (*)(const uint8_t* pixels, int32_t width, uint8_t* rgba);

}  // namespace qrv::runtime

// Exactly one of `bitmap` and `image` is set; neither in an instance whose constructor has not run.
struct REALpictureStruct : REALobjectStruct {
  void DropKept(qrv::runtime::HostState& host) override;

  bool HasPixels() const { return bitmap || image; }
  uint8_t* Row(int32_t y) const;

  int32_t width = 0;
  int32_t height = 0;
  size_t rowBytes = 0;
  qrv::runtime::Block memory;  // of the pixels, in either form
  std::unique_ptr<void, qrv::runtime::ContextDeleter> bitmap;
  std::unique_ptr<ConsoleImage, qrv::runtime::ConsoleImageDeleter> image;
  qrv::runtime::RowReader readRow = nullptr;
  bool hasAlpha = false;
  bool locked = false;
  bool lockRefused = false;           // since the last lock or unlock
  REALpictureStruct* mask = nullptr;  // kept by this picture
};

namespace qrv::runtime {

// A new picture with one reference and no pixels. Throws std::bad_alloc.
REALpictureStruct* MakeEmptyPicture(HostState& host);

// Allocates the picture's zeroed pixels in the host's form. False when the size is not in 1 ...
// 32767, the picture has pixels already, or there is no memory.
bool GivePixels(const HostState& host, REALpictureStruct& picture, long width, long height);

// A new picture of that size with one reference, or null. Throws std::bad_alloc.
REALpictureStruct* MakePicture(HostState& host, long width, long height);

// Reads row `y` as red, green, blue, alpha. With a mask, alpha is 255 - the mask's grey.
void ReadPictureRow(const REALpictureStruct& picture, int32_t y, uint8_t* rgba);

}  // namespace qrv::runtime

#endif  // RUNTIME_PICTURES_H_
