// The layouts of the virtual desktop: refused with one readable line, or displays within the
// limits.

#include "platform/desktop/virtual/layout.h"

#include <algorithm>

#include "tests/fuzz/fuzz.h"

namespace qrv::fuzz {
namespace {

using desktop::Display;
using desktop::PixelRect;

constexpr int32_t kMaxSide = 32767;
constexpr size_t kMaxProblemLength = 200;

void CheckDisplays(const std::vector<Display>& displays) {
  Require(!displays.empty() && displays.size() <= 32, "the number of displays");
  Require(displays[0].bounds.x == 0 && displays[0].bounds.y == 0, "the main display's place");
  uint32_t id = 0;
  for (const Display& each : displays) {
    const PixelRect& b = each.bounds;
    Require(each.id == ++id, "the identifiers");
    Require(std::min(b.width, b.height) >= 1, "the sizes");
    Require(std::max(each.pixelWidth, each.pixelHeight) <= kMaxSide, "the sizes in pixels");
    Require(std::max(std::abs(b.x), std::abs(b.y)) <= 2 * kMaxSide, "the positions");
  }
}

void Run(std::string_view layout) {
  std::vector<Display> displays(1);
  std::string problem;
  if (desktop::ParseLayout(layout, displays, problem)) return CheckDisplays(displays);
  const auto isReadable = [](char each) { return each >= ' ' && each <= '~'; };
  Require(displays.empty(), "no displays when refused");
  Require(!problem.empty() && problem.size() < kMaxProblemLength &&
              std::all_of(problem.begin(), problem.end(), isReadable),
          "one readable line");
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
