// What this platform tells of the desktop beyond the frameworks: for the frameworks themselves,
// which stand on it, and for a host that wants to say what was captured, how, and why not.
//
// The desktop is that of the process: QRV_DESKTOP chooses it, "kind" or "kind:argument" by the
// table in platform/desktop/choice.cpp. Unset or empty: the first kind that has a default here,
// else no desktop. "any": the same, and the virtual desktop instead of none. A choice that can't be
// understood is no desktop; nor is there one while QRV_SYSTEM_VERSION names no version. The
// variables are read at every refresh (never in a process with raised privileges); a changed choice
// closes the old desktop and opens the new one. Frames of the old one stay valid.
//
// Coordinates. A display's bounds are in the global space: units, y growing downward, the main
// display's top-left corner at (0, 0), right and bottom edges exclusive. A part to capture is in
// the display's own pixels, from its top-left corner. Most displays have one pixel per unit.
//
// A capture is right or nil. It begins with a refresh. Pixels that can't be had from then on, other
// than those of a display that is gone, are lost, and stay so until the next refresh: meanwhile
// every framework fails at the first step that its callers look at.
//
// All of it is for one thread at a time. Nothing here throws.
#ifndef QRV_DESKTOP_H_
#define QRV_DESKTOP_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qrv::desktop {

struct PixelRect {
  int32_t x = 0;
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;

  bool operator==(const PixelRect&) const = default;
};

struct Display {
  uint32_t id = 0;  // non-zero, stable while the display exists
  PixelRect bounds;
  int32_t offsetX = 0;  // to add to `bounds` for the coordinates that the desktop itself uses
  int32_t offsetY = 0;
  int32_t pixelWidth = 0;
  int32_t pixelHeight = 0;
  int32_t bitsPerPixel = 0;        // of the screen: 32, 30, 16 or 8
  int32_t bitsPerSample = 0;       // 8, 10, 5 or 8 (one sample)
  int32_t samplesPerPixel = 0;     // 3, or 1 for a screen of 8 bits per pixel
  int16_t quickDrawPixelSize = 0;  // 32, 16 or 8
  // As the desktop calls it: "HDMI-1". Cut at the end where it is longer; empty without one.
  char name[64] = "";

  bool operator==(const Display&) const = default;
};

// What a capture takes of a display.
struct Share {
  Display display;
  PixelRect part;
};

// A captured rectangle: rows from top to bottom, 4 bytes a pixel: blue, green, red, unused.
// `owner` keeps `pixels` alive and unchanged; an empty owner means that the capture failed.
struct Frame {
  std::shared_ptr<void> owner;
  uint8_t* pixels = nullptr;
  int32_t width = 0;
  int32_t height = 0;
  size_t rowBytes = 0;

  explicit operator bool() const { return owner != nullptr; }
};

// The ways to capture, by the framework that asks for the pixels.
enum class Strategy : unsigned { kDisplayImage = 1, kOpenGL = 2, kQuickDraw = 4 };

// --- For the frameworks ---

// Asks the desktop for its displays anew, main display first, and keeps the answer for FindDisplay.
// Null when there is no desktop or it can't be reached. Valid until the next refresh.
const std::vector<Display>* RefreshDisplays() noexcept;

// The latest list; makes one when there is none. Null and valid as above.
const std::vector<Display>* LatestDisplays() noexcept;

// The display of the latest list with that identifier, or nothing.
std::optional<Display> FindDisplay(uint32_t id) noexcept;

// The pixels of a part, which lies within the display's pixels, as they are now, or as they are
// held. Records the strategy when it delivers. Otherwise the pixels are lost, unless the display is
// gone.
Frame Capture(const Display& display, const PixelRect& part, Strategy strategy) noexcept;

// Tells that all of these parts are captured next, so that a desktop may have them under way at
// once. Each part lies within its display's pixels. True when they are under way: as they are now,
// while the caller does something else.
bool ExpectCaptures(std::span<const Share> shares) noexcept;

// Captures the whole display ahead of the captures of its parts, for callers that can't fail by
// then. False when pixels are lost. Held until they are released, and until the next refresh.
bool HoldPixels(const Display& display) noexcept;
void ReleasePixels(uint32_t displayId) noexcept;

// A framework could not deliver pixels that it was asked for.
void LosePixels(const char* reason) noexcept;
bool HasLostPixels() noexcept;

// The reason when that is why.
inline constexpr char kNoMemory[] = "out of memory";

// --- For hosts. Text is one line, "" when there is nothing to say, and valid until the next
// refresh or capture. ---

// The strategies that have delivered pixels since the last call, as bits; forgets them.
unsigned TakeStrategies() noexcept;

// The desktop of the last refresh as a person calls it: "X11 :0", "the virtual desktop"; "no
// desktop" when there is none.
const char* DesktopName() noexcept;

// The way that the desktop's pixels come: "MIT-SHM", "wlr-screencopy"; "" while nothing is known of
// it.
const char* DesktopWay() noexcept;

// Why the last refresh found no desktop, or why, since then, a display is missing from what was
// captured; and what a person may do about it, as a sentence.
const char* DesktopProblem() noexcept;
const char* DesktopAdvice() noexcept;

// Whether the last refresh found no desktop because what was asked for can be none.
bool DesktopChoiceIsWrong() noexcept;

// What is worth knowing of a capture that succeeded: that it was slower than it need be, or of a
// desktop that was only taken for want of another.
const char* DesktopNote() noexcept;

// Has `tell` called, with what is being waited for in one line, when a capture waits for a person:
// a desktop may ask whether it is allowed. Null for nobody.
void DesktopTellsOfWaiting(void (*tell)(const char* words)) noexcept;

// The choices of a desktop, for a person: "x11, x11:DISPLAY, virtual or virtual:LAYOUT".
const char* DesktopChoices() noexcept;

}  // namespace qrv::desktop

namespace qrv {

// The size of a large page, and where it begins is a multiple of it.
inline constexpr size_t kLargePageBytes = size_t{2} << 20;

// Has the system hand out the pages of memory that is about to be written: that is most of the cost
// of a picture that is written once. Where the memory has whole large pages, it gets large ones,
// unless the system is slow to find those: a virtual machine that has given its free memory back to
// its host fetches each of them anew, and has ordinary ones ten times as fast. Memory that has
// ordinary ones already gets large ones when the system comes round to it. Changes neither the
// content nor errno; where it can't be done, the pages come as the memory is written. In any
// thread.
void FetchPages(void* memory, size_t size) noexcept;

// Has its whole large pages be such when they come, unless those were slow to find lately.
void PreferLargePages(void* memory, size_t size) noexcept;

// Whether the file is a library for this process with all of its segments: mapping one that was cut
// short would raise a signal later.
bool IsWholeLibrary(const char* path) noexcept;

}  // namespace qrv

#endif  // QRV_DESKTOP_H_
