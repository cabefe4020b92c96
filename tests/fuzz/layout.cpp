// The layouts of the virtual desktop: refused with one readable line, or displays within the limits
// that, written out again, are the same layout.

#include "platform/desktop/layout.h"

#include <algorithm>

#include "tests/fuzz/fuzz.h"

namespace qrv::fuzz {
namespace {

using desktop::Display;

constexpr int32_t kMaxSide = 32767;
constexpr size_t kMaxProblemLength = 200;

std::string Signed(int32_t number) { return (number < 0 ? "" : "+") + std::to_string(number); }

std::string Write(const std::vector<Display>& displays) {
  std::string text;
  for (const Display& each : displays) {
    if (!text.empty()) text += ",";
    text += std::to_string(each.bounds.width) + "x" + std::to_string(each.bounds.height) +
            Signed(each.bounds.x) + Signed(each.bounds.y) + "@" +
            std::to_string(each.bitsPerPixel) + "*" +
            std::to_string(each.pixelWidth / each.bounds.width);
  }
  return text;
}

bool Same(const Display& a, const Display& b) {
  return a.id == b.id && a.bounds.x == b.bounds.x && a.bounds.y == b.bounds.y &&
         a.bounds.width == b.bounds.width && a.bounds.height == b.bounds.height &&
         a.pixelWidth == b.pixelWidth && a.pixelHeight == b.pixelHeight &&
         a.bitsPerPixel == b.bitsPerPixel && a.bitsPerSample == b.bitsPerSample &&
         a.samplesPerPixel == b.samplesPerPixel && a.quickDrawPixelSize == b.quickDrawPixelSize;
}

// Positions that can be written: moving the main display to the origin may double them.
bool CanBeWritten(const Display& each) {
  return std::max(std::abs(each.bounds.x), std::abs(each.bounds.y)) <= kMaxSide;
}

void CheckDisplays(const std::vector<Display>& displays) {
  Require(!displays.empty() && displays.size() <= 32, "the number of displays");
  Require(displays[0].bounds.x == 0 && displays[0].bounds.y == 0, "the main display's place");
  for (size_t i = 0; i < displays.size(); ++i) {
    const Display& each = displays[i];
    Require(each.id == i + 1, "the identifiers");
    Require(std::min(each.bounds.width, each.bounds.height) >= 1 &&
                std::max(each.pixelWidth, each.pixelHeight) <= kMaxSide,
            "the sizes");
    Require(std::max(std::abs(each.bounds.x), std::abs(each.bounds.y)) <= 2 * kMaxSide,
            "the positions");
  }
  if (!std::all_of(displays.begin(), displays.end(), CanBeWritten)) return;
  std::vector<Display> again;
  std::string problem;
  Require(desktop::ParseLayout(Write(displays), again, problem), "the layout as written");
  Require(std::equal(displays.begin(), displays.end(), again.begin(), again.end(), Same),
          "the displays of the layout as written");
}

void Run(std::string_view layout) {
  std::vector<Display> displays(1);
  std::string problem;
  if (desktop::ParseLayout(layout, displays, problem)) {
    CheckDisplays(displays);
    return;
  }
  Require(displays.empty(), "no displays when refused");
  Require(!problem.empty() && problem.size() < kMaxProblemLength &&
              std::all_of(problem.begin(), problem.end(),
                          [](char each) { return each >= ' ' && each <= '~'; }),
          "one readable line");
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
