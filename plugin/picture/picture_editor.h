// Write access to a host picture's pixels, whichever of its two forms the host keeps them in: a
// bitmap context in desktop applications, a console image in console and web applications.
//
// Every picture is made in three steps: BindNewPicture, then writing the pixels row by row, then
// RenderPictureWriter, whose result is the caller's.
#ifndef PLUGIN_PICTURE_PICTURE_EDITOR_H_
#define PLUGIN_PICTURE_PICTURE_EDITOR_H_

#include <ApplicationServices/CoreGraphics.h>
#include <screenshotqrv/host.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

// `pixelFormat` of console images; that of bitmap contexts is their alpha info.
constexpr int32_t kConsolePixelFormat = 8;

// The kind of host application, once it is known. Never cleared.
extern bool IsDesktop;
extern bool IsConsole;

class PictureEditor {
 public:
  PictureEditor() = default;
  PictureEditor(const PictureEditor&) = delete;
  PictureEditor& operator=(const PictureEditor&) = delete;
  virtual ~PictureEditor();

  // Releases an earlier binding, then binds the editor to the picture and locks its pixels. While
  // bound, the editor holds a reference of its own to the picture. When false, it is unbound and
  // holds nothing. The two signed chars are ignored.
  bool GetPictureEditor(REALpictureStruct* newPicture, signed char, signed char);

  // Commits the pixels and returns the picture with a new reference that belongs to the caller, or
  // nil when the editor is unbound. The editor is unbound afterwards.
  REALpictureStruct* RenderPictureWriter();

  // The first pixel of row y (from the top, not negative); row 0 for a row past the last.
  uint8_t* RowStart(int32_t y) const {
    if (y >= height) return baseAddress;
    if (pixelFormat == kConsolePixelFormat) return rowTable[y];
    return baseAddress + static_cast<ptrdiff_t>(y) * rowBytes;
  }

  void MoveToRow(int32_t y) {
    row = y;
    cursor = RowStart(y);
  }

  // Past the last row the cursor is back at row 0.
  void NextRow() { MoveToRow(row + 1); }

  // Stores an opaque pixel at the cursor and advances it. This defines the pixel of each layout;
  // the row kernels write whole rows of them.
  void WritePixel(uint8_t red, uint8_t green, uint8_t blue) {
    switch (pixelFormat) {
      case kCGImageAlphaPremultipliedLast:
      case kCGImageAlphaLast:
      case kCGImageAlphaNoneSkipLast:
        return Store(red, green, blue, 255);
      case kCGImageAlphaPremultipliedFirst:
      case kCGImageAlphaFirst:
      case kCGImageAlphaNoneSkipFirst:
        return Store(255, red, green, blue);
      case kConsolePixelFormat:
        return Store(blue, green, red, 0);
      default:
        return;
    }
  }

  int32_t rowBytes = 0;
  int32_t width = 0;
  int32_t height = 0;
  int32_t bytesPerPixel = 0;
  int32_t pixelFormat = 0;
  uint8_t* cursor = nullptr;
  REALpictureDescription description = {};
  uint8_t* baseAddress = nullptr;
  int32_t row = 0;
  REALpictureStruct* picture = nullptr;
  uint8_t** rowTable = nullptr;
  bool hasAlpha = false;
  bool clearCacheOnRelease = false;
  bool descriptionLocked = false;

 protected:
  // Editors are local objects, so the deleting destructor has no memory to free.
  static void operator delete(void*) {}

 private:
  void Store(uint8_t first, uint8_t second, uint8_t third, uint8_t fourth) {
    const uint8_t pixel[4] = {first, second, third, fourth};
    memcpy(cursor, pixel, sizeof(pixel));
    cursor += sizeof(pixel);
  }

  void ReleasePicture();
  bool LockContext(REALpictureStruct* newPicture);
  bool LockConsoleImage(REALpictureStruct* newPicture);
  bool UseContext();
  bool UseConsoleImage();
  bool Hold(REALpictureStruct* newPicture);
};

class PictureWriter : public PictureEditor {};

// Binds the writer to the picture, and always releases the caller's reference, so that only the
// writer keeps the picture alive. False for nil or when it can't be bound.
bool BindOwnPicture(PictureWriter& writer, REALpictureStruct* picture);

// Binds the writer to a new picture of that size and kPictureDepth. False, and nothing is held,
// when the size is out of range, the host makes no picture, or it can't be bound.
bool BindNewPicture(PictureWriter& writer, int64_t width, int64_t height);

#endif  // PLUGIN_PICTURE_PICTURE_EDITOR_H_
