// The layouts of the virtual desktop: refused with one readable line, or displays within the
// limits. A layout of any numbers within them is understood.

#include "platform/desktop/virtual/layout.h"

#include <algorithm>

#include "tests/fuzz/fuzz.h"

namespace qrv::fuzz {
namespace {

using desktop::Display;

constexpr int32_t kMaxSide = 32767;
constexpr size_t kMaxProblemLength = 200;

std::string Signed(int32_t number) { return (number < 0 ? "" : "+") + std::to_string(number); }

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
}

void CheckNumbers(FuzzedDataProvider input) {
  std::vector<int32_t> numbers;
  std::string text;
  const int count = input.ConsumeIntegralInRange(1, 4);
  for (int i = 0; i < count; ++i) {
    const auto pick = [&](int32_t least) { return input.ConsumeIntegralInRange(least, kMaxSide); };
    const int32_t width = pick(1), height = pick(1);
    const int32_t x = i == 0 ? 0 : pick(-kMaxSide), y = i == 0 ? 0 : pick(-kMaxSide);
    const int32_t bits = input.PickValueInArray({8, 16, 32});
    numbers.insert(numbers.end(), {width, height, x, y, bits});
    text += (i == 0 ? "" : ",") + std::to_string(width) + "x" + std::to_string(height) + Signed(x) +
            Signed(y) + "@" + std::to_string(bits);
  }
  std::vector<Display> displays;
  std::string problem;
  currentCase = text;
  Require(desktop::ParseLayout(text, displays, problem), "a layout");
  std::vector<int32_t> understood;
  for (const Display& each : displays) {
    const auto& bounds = each.bounds;
    understood.insert(understood.end(),
                      {bounds.width, bounds.height, bounds.x, bounds.y, each.bitsPerPixel});
  }
  Require(understood == numbers, "the numbers of a layout");
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
  qrv::fuzz::CheckNumbers(FuzzedDataProvider(data, size));
  qrv::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
