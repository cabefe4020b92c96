#include <ApplicationServices/CoreGraphics.h>
#include <screenshotqrv/platform.h>

#include <algorithm>
#include <cstring>
#include <optional>
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

QRVWindow RecordOf(const qrv::desktop::Window& window) {
  QRVWindow record = {};
  record.id = window.id;
  record.x = window.frame.x;
  record.y = window.frame.y;
  record.width = window.frame.width;
  record.height = window.frame.height;
  record.contentX = window.content.x;
  record.contentY = window.content.y;
  record.contentWidth = window.content.width;
  record.contentHeight = window.content.height;
  record.state = static_cast<int32_t>(window.state);
  record.isActive = window.isActive ? 1 : 0;
  static_assert(sizeof record.title == sizeof window.title);
  std::memcpy(record.title, window.title, sizeof record.title);
  static_assert(sizeof record.program == sizeof window.program);
  std::memcpy(record.program, window.program, sizeof record.program);
  return record;
}

// Fills in as many records, of `size` bytes each, as there is room for. Returns how many there are.
template <typename Record, typename Item>
int32_t Fill(Record* records, size_t size, int32_t capacity, const std::vector<Item>& items) {
  const auto count = static_cast<int32_t>(items.size());
  auto* to = reinterpret_cast<char*>(records);
  for (int32_t i = 0; to != nullptr && i < std::min(count, capacity); ++i, to += size) {
    const Record record = RecordOf(items[static_cast<size_t>(i)]);
    std::memcpy(to, &record, std::min(size, sizeof record));
  }
  return count;
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
  return listed == nullptr ? -1 : Fill(displays, size, capacity, *listed);
}

int32_t QRVListWindows(QRVWindow* windows, size_t size, int32_t capacity) {
  const std::optional<std::vector<qrv::desktop::Window>> listed = qrv::desktop::ListWindows();
  return listed ? Fill(windows, size, capacity, *listed) : -1;
}

void QRVShowPointer(int32_t isShown) {
  using qrv::desktop::Pointer;
  qrv::desktop::ShowPointer(isShown != 0 ? Pointer::kShown : Pointer::kHidden);
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
