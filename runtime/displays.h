// The displays that a capture by index refers to, and which facility delivered a capture.
#ifndef RUNTIME_DISPLAYS_H_
#define RUNTIME_DISPLAYS_H_

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
  int32_t pixelWidth = 0;
  int32_t pixelHeight = 0;
  int32_t bitsPerPixel = 0;
  bool isMain = false;
};

// The active displays as they are now, in the order of their indexes; nothing when there is no
// desktop or it can't be reached.
std::optional<std::vector<DisplayInfo>> ListDisplays();

// One line on why the last call found no displays, or the last capture no pixels; empty when
// nothing went wrong with the desktop.
std::string DesktopProblem();

// The facilities that can deliver the pixels of a capture, as bits.
constexpr unsigned kDisplayImages = 1;
constexpr unsigned kOpenGL = 2;
constexpr unsigned kQuickDraw = 4;

// Those that have delivered pixels since the last call.
unsigned TakeFacilitiesUsed();

}  // namespace qrv::runtime

#endif  // RUNTIME_DISPLAYS_H_
