#include <ApplicationServices/CoreGraphics.h>
#include <screenshotqrv/platform.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/desktop/choice.h"
#include "platform/desktop/peer/person.h"
#include "platform/desktop/session.h"

using qrv::desktop::CurrentStatus;

namespace {

QRVDisplay RecordOf(const qrv::desktop::Display& display) {
  QRVDisplay record = {};
  record.id = display.id;
  record.x = display.bounds.x;
  record.y = display.bounds.y;
  record.width = display.bounds.width;
  record.height = display.bounds.height;
  record.offsetX = display.offsetX;
  record.offsetY = display.offsetY;
  record.pixelWidth = display.pixelWidth;
  record.pixelHeight = display.pixelHeight;
  record.bitsPerPixel = display.bitsPerPixel;
  static_assert(sizeof record.name == sizeof display.name);
  std::memcpy(record.name, display.name, sizeof record.name);
  return record;
}

}  // namespace

int32_t QRVPlatformVersion() { return QRV_PLATFORM_VERSION; }

int32_t QRVFailure() { return static_cast<int32_t>(CurrentStatus().failure); }
const char* QRVFailureMessage() { return CurrentStatus().message; }
const char* QRVFailureAdvice() { return CurrentStatus().advice; }
const char* QRVCaptureNote() { return CurrentStatus().note; }

int32_t QRVDesktopKind() { return CurrentStatus().kind; }
const char* QRVDesktopName() { return CurrentStatus().name; }
const char* QRVDesktopAddress() { return CurrentStatus().address; }
const char* QRVBackendName() { return CurrentStatus().backend; }
const char* QRVDesktopChoices() { return qrv::desktop::DesktopChoices(); }

void QRVOnWaiting(QRVWaitingReport report, void* context) {
  qrv::desktop::SetWaitingReport(report, context);
}

int32_t QRVListDisplays(QRVDisplay* displays, size_t size, int32_t capacity) {
  const std::vector<qrv::desktop::Display>* const listed = qrv::desktop::RefreshDisplays();
  if (listed == nullptr) return -1;
  const auto count = static_cast<int32_t>(listed->size());
  auto* to = reinterpret_cast<char*>(displays);
  for (int32_t i = 0; to != nullptr && i < std::min(count, capacity); ++i, to += size) {
    const QRVDisplay record = RecordOf((*listed)[static_cast<size_t>(i)]);
    std::memcpy(to, &record, std::min(size, sizeof record));
  }
  return count;
}

uint32_t QRVTakeStrategies() { return qrv::desktop::TakeStrategies(); }

void* QRVCreateBitmapContext(void* pixels, size_t width, size_t height, size_t rowBytes,
                             uint32_t layout) {
  if (pixels == nullptr) return nullptr;
  return CGBitmapContextCreate(pixels, width, height, 8, rowBytes, CGColorSpaceCreateDeviceRGB(),
                               layout);
}

void QRVReleaseBitmapContext(void* context) {
  if (context != nullptr) CGContextRelease(static_cast<CGContextRef>(context));
}
