// The layouts of the virtual desktop: refused with one readable line, or displays within the
// limits. A layout of any numbers within them is understood.

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

void CheckNumbers(FuzzedDataProvider input) {
  std::vector<Display> expected(input.ConsumeIntegralInRange<size_t>(1, 4));
  std::string text;
  for (Display& each : expected) {
    const auto pick = [&](int32_t least) { return input.ConsumeIntegralInRange(least, kMaxSide); };
    each.bounds.width = pick(1);
    each.bounds.height = pick(1);
    each.bounds.x = text.empty() ? 0 : pick(-kMaxSide);
    each.bounds.y = text.empty() ? 0 : pick(-kMaxSide);
    each.bitsPerPixel = input.PickValueInArray({8, 16, 32});
    text +=
        (text.empty() ? "" : ",") + Entry(each.bounds) + "@" + std::to_string(each.bitsPerPixel);
  }
  std::vector<Display> displays;
  std::string problem;
  currentCase = text;
  Require(desktop::ParseLayout(text, displays, problem), "a layout");
  const auto areEqual = [](const Display& a, const Display& b) {
    return a.bounds == b.bounds && a.bitsPerPixel == b.bitsPerPixel;
  };
  Require(std::equal(displays.begin(), displays.end(), expected.begin(), expected.end(), areEqual),
          "the numbers of a layout");
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
  qrv::fuzz::CheckNumbers(FuzzedDataProvider(data, size));
  qrv::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
