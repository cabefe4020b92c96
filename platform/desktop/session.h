// The one door from the frameworks to the desktop of the process.
//
// QRV_DESKTOP chooses the desktop by the table in choice.cpp. It is read at every refresh; a
// changed choice closes the old desktop and opens the new one. Frames of the old one stay valid.
//
// A capture is right or nil. It begins with a refresh. When pixels are missing from then on, other
// than those of a display that is gone, the capture has failed, and stays so until the next
// refresh: meanwhile every framework fails at the first step that its callers look at.
//
// Everything here is for one thread at a time. Nothing throws.
#ifndef PLATFORM_DESKTOP_SESSION_H_
#define PLATFORM_DESKTOP_SESSION_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/desktop/display.h"
#include "platform/desktop/error.h"
#include "platform/desktop/frames/frame.h"
#include "platform/desktop/frames/pointer.h"
#include "platform/desktop/window.h"

namespace qrv::desktop {

// The frameworks that ask for pixels.
enum class Strategy : uint32_t {
  kDisplayImage = kQRVDisplayImage,
  kOpenGL = kQRVOpenGL,
  kQuickDraw = kQRVQuickDraw
};

// Asks the desktop for its displays, main display first. Null when there is no desktop. Valid until
// the next refresh.
const std::vector<Display>* RefreshDisplays() noexcept;

// The latest list; makes the first one. Null when it failed, and valid as above.
const std::vector<Display>* LatestDisplays() noexcept;

// The display of the latest list with that identifier, or nothing.
std::optional<Display> FindDisplay(uint32_t id) noexcept;

// The windows as they are now, the top one first; nothing when they can't be listed. Lists the
// displays, too.
std::optional<std::vector<Window>> ListWindows() noexcept;

// The pixels of a region of the display as they are now. Empty when the display is gone, and when
// the capture has failed.
Frame Capture(const Display& display, const PixelRect& region, Strategy strategy) noexcept;

// Whether captures show the pointer from now on. They don't until then.
void ShowPointer(Pointer pointer) noexcept;

// The pixels that the display is read back from: as they were when they were asked for first. They
// stay until they are dropped, and until the next refresh. Empty when the capture has failed.
Frame FrameBuffer(const Display& display) noexcept;
void DropFrameBuffer(uint32_t displayId) noexcept;
// Records that OpenGL has delivered pixels.
void RecordReadBack() noexcept;

// A framework can't deliver pixels that it was asked for.
void FailCapture(Reason reason, const char* message) noexcept;
bool HasCaptureFailed() noexcept;

// What a host asks for; screenshotqrv/platform.h explains it. Text is valid until the next call.
struct Status {
  int32_t kind = kQRVNoDesktopKind;
  const char* name = "no desktop";
  const char* address = "";
  const char* backend = "";
  Reason failure = Reason::kNone;
  const char* message = "";
  const char* advice = "";
  const char* note = "";
};
Status CurrentStatus() noexcept;

// The strategies that have delivered pixels since the last call, as bits.
uint32_t TakeStrategies() noexcept;

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_SESSION_H_
