#include "plugin/method_table.h"

#include "plugin/capture/methods.h"

namespace {

// Bits 18 to 20 are the table's own. Two of them stand for a bit that newer hosts know.
constexpr uint32_t kTableBits = 0x1C0000;
constexpr uint32_t kTableBit18 = 0x40000;
constexpr uint32_t kTableBit19 = 0x80000;
constexpr uint32_t kHostBit2 = 0x4;
constexpr uint32_t kHostBit3 = 0x8;

}  // namespace

#define QRV_METHOD(function, declaration) \
  { reinterpret_cast<void*>(function), nullptr, declaration, kTableBit18, 0, nullptr }

REALmethodDefinition globalMethods[7] = {
    QRV_METHOD(ScreenshotDisplayQRV, "ScreenshotDisplayQRV(index as integer) as picture"),
    QRV_METHOD(ScreenshotQRV, "ScreenshotQRV as picture"),
    QRV_METHOD(ScreenshotRectQRV,
               "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as "
               "integer) as picture"),
    QRV_METHOD(ScreenshotRectDestQRV,
               "ScreenshotRectQRV(left as integer, top as integer, width as integer, height as "
               "integer, destwidth as integer, destheight as integer) as picture"),
    QRV_METHOD(ScreenshotStringDisplayQRV,
               "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref "
               "RowBytes as integer, index as integer) as string"),
    QRV_METHOD(ScreenshotStringQRV,
               "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref "
               "RowBytes as integer) as string"),
    QRV_METHOD(ScreenshotFromStringQRV,
               "ScreenshotFromStringQRV(Width as integer, Height as integer, RowBytes as integer, "
               "data as string) as picture"),
};

uint32_t AdaptMethodFlags(uint32_t flags, double hostVersion) {
  if (hostVersion >= 2010.029) {
    if ((flags & kTableBit18) != 0) flags |= kHostBit2;
    if ((flags & kTableBit19) != 0) flags |= kHostBit3;
  }
  return flags & ~kTableBits;
}
