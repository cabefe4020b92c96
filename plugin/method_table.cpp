#include "plugin/method_table.h"

#include "plugin/capture/methods.h"

namespace {

// Bits 18 to 20 are the table's own. Two of them stand for a bit that newer hosts know.
constexpr uint32_t kTableBits = 0x1C0000;
constexpr uint32_t kTableBit18 = 0x40000;
constexpr uint32_t kTableBit19 = 0x80000;
constexpr uint32_t kHostBit3 = 0x8;

}  // namespace

// A method. The cast checks that its type is the one that host.h declares.
#define QRV_METHOD(name)                                                                    \
  {                                                                                         \
    reinterpret_cast<void*>(static_cast<name##Function>(name)), nullptr, name##Declaration, \
        kTableBit18, 0, nullptr                                                             \
  }

REALmethodDefinition globalMethods[7] = {
    QRV_METHOD(ScreenshotDisplayQRV),       QRV_METHOD(ScreenshotQRV),
    QRV_METHOD(ScreenshotRectQRV),          QRV_METHOD(ScreenshotRectDestQRV),
    QRV_METHOD(ScreenshotStringDisplayQRV), QRV_METHOD(ScreenshotStringQRV),
    QRV_METHOD(ScreenshotFromStringQRV),
};

uint32_t AdaptMethodFlags(uint32_t flags, double hostVersion) {
  if (hostVersion >= 2010.029) {
    if ((flags & kTableBit18) != 0) flags |= kMethodFlagHostBit2;
    if ((flags & kTableBit19) != 0) flags |= kHostBit3;
  }
  return flags & ~kTableBits;
}
