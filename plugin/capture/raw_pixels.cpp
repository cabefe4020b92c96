// Raw pixel strings: a display's pixels as a host string, and back into a picture.
//
// The format: rows from the bottom upward, RowBytes bytes from one to the next; 4 bytes per pixel:
// blue, green, red, alpha. Captures leave no gaps: RowBytes is Width x 4 and the length is Height x
// RowBytes. Strings that become pictures may have gaps between rows, and be longer.

#include "plugin/capture/display_choice.h"
#include "plugin/capture/methods.h"
#include "plugin/capture/opengl_readback.h"
#include "plugin/host/bridge.h"
#include "plugin/picture/pixel_pass.h"

namespace {

// A host string's bytes, released at the end of the scope.
class StringBytes {
 public:
  explicit StringBytes(REALstringStruct* string) {
    if (string == nullptr) return;
    if (rbversion >= 2013.0) {
      Describe(string);
    } else {
      Lock(string);
    }
  }
  StringBytes(const StringBytes&) = delete;
  StringBytes& operator=(const StringBytes&) = delete;
  ~StringBytes() {
    if (locked_ != nullptr) REALUnlockString(locked_);
    if (described_) REALDisposeStringData(&data_);
  }

  // Null when the bytes are unavailable.
  const uint8_t* bytes() const { return bytes_; }
  int64_t length() const { return length_; }

 private:
  void Describe(REALstringStruct* string) {
    described_ = REALGetStringData(string, kRawBytesEncoding, &data_);
    if (!described_) return;
    bytes_ = reinterpret_cast<const uint8_t*>(data_.data);
    length_ = data_.length;
  }

  void Lock(REALstringStruct* string) {
    // When the lock fails, the caller's reference keeps the string alive during the call.
    if (REALLockString(string)) locked_ = string;
    const auto* record = reinterpret_cast<const LegacyHostString*>(string);
    if (record->storage == nullptr) return;
    bytes_ = record->storage + 1;
    length_ = record->length;
  }

  REALstringStruct* locked_ = nullptr;
  bool described_ = false;
  REALstringData data_ = {};
  const uint8_t* bytes_ = nullptr;
  int64_t length_ = 0;
};

}  // namespace

REALstringStruct* ScreenshotStringQRV(int32_t& width, int32_t& height, int32_t& rowBytes) {
  width = height = rowBytes = 0;
  return GLScreenshotStringQRV(CGMainDisplayID(), width, height, rowBytes);
}

REALstringStruct* ScreenshotStringDisplayQRV(int32_t& width, int32_t& height, int32_t& rowBytes,
                                             int32_t index) {
  width = height = rowBytes = 0;
  return GLScreenshotStringQRV(capture::ActiveDisplay(index), width, height, rowBytes);
}

REALpictureStruct* ScreenshotFromStringQRV(int32_t width, int32_t height, int32_t rowBytes,
                                           REALstringStruct* data) {
  if (width < 1 || height < 1 || rowBytes < static_cast<int64_t>(width) * 4) return nullptr;
  const StringBytes string(data);
  if (string.bytes() == nullptr) return nullptr;
  if (static_cast<int64_t>(rowBytes) * height > string.length()) return nullptr;
  PictureWriter writer;
  if (!BindNewPicture(writer, width, height)) return nullptr;
  const ptrdiff_t step = rowBytes;
  const uint8_t* top = string.bytes() + (height - 1) * step;
  picture::WriteRows(writer, {picture::SourceLayout::kBgrSkip, top, -step, width, height});
  return writer.RenderPictureWriter();
}
