// The desktop as a program sees it: the displays that a capture by index refers to, what went wrong
// with a capture, and which strategies delivered it.
#ifndef RUNTIME_DESKTOP_VIEW_H_
#define RUNTIME_DESKTOP_VIEW_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qrv::runtime {

struct DisplayInfo {
  uint32_t id = 0;
  int32_t x = 0;  // of its bounds in the global display space, in units
  int32_t y = 0;
  int32_t width = 0;
  int32_t height = 0;
  int32_t offsetX = 0;  // to add to that place for the coordinates that the desktop itself uses
  int32_t offsetY = 0;
  int32_t pixelWidth = 0;
  int32_t pixelHeight = 0;
  int32_t bitsPerPixel = 0;
  bool isMain = false;
  std::string name;  // as the desktop calls it; may be empty
};

// Of them a capture by index can name the first.
constexpr size_t kMaximumDisplays = 32;

// The displays as they are now, in the order of their indexes; nothing when there is no desktop or
// it can't be reached.
std::optional<std::vector<DisplayInfo>> ListDisplays();

// The desktop of the last call as a person names it: "X11 :0", "the virtual desktop".
std::string DesktopName();

// The way that the desktop's pixels come: "MIT-SHM", "wlr-screencopy".
std::string DesktopWay();

// Has `tell` called, with what is being waited for in one line, when a capture waits for a person.
void TellOfWaiting(void (*tell)(const char* words));

// One line on why the last call found no displays, or the last capture no pixels; empty when
// nothing went wrong with the desktop. And a sentence on what to do about a desktop that isn't
// there.
std::string DesktopProblem();
std::string DesktopAdvice();

// Whether the last call found no desktop because what was asked for can be none.
bool DesktopChoiceIsWrong();

// One line on what is worth knowing of a capture that succeeded; empty when nothing is.
std::string DesktopNote();

// The choices of a desktop: "x11, x11:DISPLAY, virtual or virtual:LAYOUT".
std::string DesktopChoices();

// The strategies that can deliver the pixels of a capture, as bits.
constexpr unsigned kDisplayImage = 1;
constexpr unsigned kOpenGL = 2;
constexpr unsigned kQuickDraw = 4;

// Those that have delivered pixels since the last call.
unsigned TakeStrategiesUsed();

}  // namespace qrv::runtime

#endif  // RUNTIME_DESKTOP_VIEW_H_
