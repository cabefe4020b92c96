#include "plugin/method_table.h"

#include "capture/methods.h"

namespace {

constexpr uint32_t kStoredFlag = 0x40000;
constexpr uint32_t kSecondStoredFlag = 0x80000;
constexpr uint32_t kStoredFlags = 0x1C0000;
constexpr uint32_t kAdaptedFlag = 0x4;
constexpr uint32_t kSecondAdaptedFlag = 0x8;

}  // namespace

#define QRV_METHOD(function, declaration) \
  { reinterpret_cast<void*>(function), nullptr, declaration, kStoredFlag, 0, nullptr }

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
    if ((flags & kStoredFlag) != 0) flags |= kAdaptedFlag;
    if ((flags & kSecondStoredFlag) != 0) flags |= kSecondAdaptedFlag;
  }
  return flags & ~kStoredFlags;
}
