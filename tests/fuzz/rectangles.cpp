// Both rectangle methods with any integers, on any layout of the virtual desktop, by every strategy
// and in every host, through the frameworks as built. The picture is nil, which it may be only
// beyond limits, or of the size asked for; at its own size, and where nothing wraps around, each
// pixel is the test card's.

#include <algorithm>
#include <string>
#include <vector>

#include "plugin/capture/methods.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/cards.h"

namespace qrv::fuzz {
namespace {

using desktop::Display;
using desktop::PixelRect;

// What has more may fail for want of memory: see -max_allocation_size_mb.
constexpr int64_t kMaxCertainPixels = int64_t{1} << 20;
constexpr int64_t kManyPixels = 90000;
constexpr int kSamples = 64;

// Of the environment, in place: setenv keeps every value that a variable was ever given.
template <size_t size>
void Set(char (&variable)[size], const std::string& text) {
  std::snprintf(variable, size, "%s", text.c_str());
  putenv(variable);
}

// Large in both directions only rarely: what has many pixels takes long.
template <typename PickSide>
PixelRect PickSize(FuzzedDataProvider& input, const PickSide& pickSide) {
  PixelRect size = {0, 0, pickSide(), pickSide()};
  const bool isLarge = int64_t{size.width} * size.height > kManyPixels;
  if (isLarge && input.ConsumeIntegralInRange(0, 63) != 0) size.height = size.height % 8 + 1;
  return size;
}

std::string PickLayout(FuzzedDataProvider& input) {
  const auto pickPosition = [&input] {
    const int limit = input.ConsumeBool() ? 600 : 32767;
    return input.ConsumeIntegralInRange(-limit, limit);
  };
  std::string layout;
  for (int count = input.ConsumeIntegralInRange(1, 4); count > 0; --count) {
    PixelRect bounds = PickSize(input, [&input] {
      return input.ConsumeIntegralInRange(1, input.ConsumeBool() ? 300 : 32767);
    });
    bounds.x = pickPosition();
    bounds.y = pickPosition();
    layout += (layout.empty() ? "" : ",") + Entry(bounds);
    const int option = input.ConsumeIntegralInRange(0, 15);
    if (option < 2) layout += option == 0 ? "@8" : "@16";
    if (option == 2) layout += "*" + std::to_string(input.ConsumeIntegralInRange(1, 4));
  }
  return layout;
}

// Any integer, or one near the displays' edges.
int32_t PickCoordinate(FuzzedDataProvider& input, const std::vector<Display>& displays) {
  const int kind = input.ConsumeIntegralInRange(0, 7);
  if (kind == 0) return input.ConsumeIntegral<int32_t>();
  if (kind == 1) return input.ConsumeIntegral<int16_t>();
  if (kind > 3) return input.ConsumeIntegralInRange(-600, 600);
  if (displays.empty()) return 0;
  const auto& b = displays[input.ConsumeIntegralInRange<size_t>(0, displays.size() - 1)].bounds;
  return input.PickValueInArray({b.x, b.y, b.x + b.width, b.y + b.height}) +
         input.ConsumeIntegralInRange(-2, 2);
}

int32_t PickSide(FuzzedDataProvider& input) {
  const int kind = input.ConsumeIntegralInRange(0, 7);
  if (kind == 0) return input.ConsumeIntegral<int32_t>();
  if (kind == 1) return input.ConsumeIntegral<int16_t>();
  return input.ConsumeIntegralInRange(1, 400);
}

bool IsShort(int64_t number) { return number == static_cast<int16_t>(number); }

bool IsShort(const PixelRect& r) {
  return IsShort(r.x) && IsShort(r.y) && IsShort(int64_t{r.x} + r.width) &&
         IsShort(int64_t{r.y} + r.height);
}

// Whether what the rectangle shows is known: one pixel a unit, and all edges in 16 bits, in which
// QuickDraw keeps them.
bool IsPlain(const PixelRect& r, const std::vector<Display>& displays) {
  return IsShort(r) && std::all_of(displays.begin(), displays.end(), [](const Display& each) {
           return each.pixelWidth == each.bounds.width && IsShort(each.bounds);
         });
}

bool IsSmall(int64_t width, int64_t height) {
  return std::min(width, height) >= 1 && std::max(width, height) <= 32767 &&
         width * height <= kMaxCertainPixels;
}

bool IsSmall(const Display& each) { return IsSmall(each.pixelWidth, each.pixelHeight); }

bool MustBeMade(const PixelRect& r, const PixelRect& shown, const std::vector<Display>& displays) {
  return !displays.empty() && IsPlain(r, displays) && IsSmall(r.width, r.height) &&
         IsSmall(shown.width, shown.height) &&
         std::all_of(displays.begin(), displays.end(),
                     [](const Display& each) { return IsSmall(each); });
}

// Where displays overlap, either may be in front.
void CheckPixel(const std::vector<Display>& displays, int32_t x, int32_t y, const uint8_t* rgba) {
  const uint32_t actual = static_cast<uint32_t>(rgba[0] << 16 | rgba[1] << 8 | rgba[2]);
  bool mayBeBlack = true;
  for (size_t i = 0; i < displays.size(); ++i) {
    const auto card = testing::CardColor(displays, i, x, y);
    if (!card) continue;
    if (actual == *card) return;
    mayBeBlack = !IsSmall(displays[i]);
  }
  Require(mayBeBlack && actual == 0, "a pixel");
}

void CheckPixels(FuzzedDataProvider& input, const REALpictureStruct* picture, const PixelRect& r,
                 const std::vector<Display>& displays) {
  std::vector<uint8_t> row(static_cast<size_t>(r.width) * 4);
  for (int i = 0; i < kSamples; ++i) {
    const int32_t y = input.ConsumeIntegralInRange(0, r.height - 1);
    const int32_t x = input.ConsumeIntegralInRange(0, r.width - 1);
    runtime::Host::ReadRow(picture, y, row.data());
    for (const int32_t place : {x, 0, r.width - 1}) {
      CheckPixel(displays, r.x + place, r.y + y, row.data() + ptrdiff_t{place} * 4);
    }
    if (input.remaining_bytes() == 0) break;  // the same ones from here on
  }
}

void Run(FuzzedDataProvider input) {
  static char desktopVariable[256], systemVariable[64];
  const std::string layout = PickLayout(input);
  const std::string system = input.PickValueInArray({"10.7", "10.6", "10.4"});
  Set(desktopVariable, "QRV_DESKTOP=virtual:" + layout);
  Set(systemVariable, "QRV_SYSTEM_VERSION=" + system);
  std::vector<Display> displays;  // none when the layout is refused
  std::string problem;
  desktop::ParseLayout(layout, displays, problem);

  runtime::Host host(PickHost(input));
  StartAnew(host);
  const auto pickSide = [&input] { return PickSide(input); };
  PixelRect r = PickSize(input, pickSide);
  r.x = PickCoordinate(input, displays);
  r.y = PickCoordinate(input, displays);
  const bool isScaled = input.ConsumeBool();
  const PixelRect shown = isScaled && input.ConsumeBool() ? PickSize(input, pickSide) : r;
  currentCase = "virtual:" + layout + ", system " + system + ", " + Entry(r) + " to " +
                std::to_string(shown.width) + "x" + std::to_string(shown.height);
  REALpictureStruct* picture =
      isScaled ? ScreenshotRectDestQRV(r.x, r.y, r.width, r.height, shown.width, shown.height)
               : ScreenshotRectQRV(r.x, r.y, r.width, r.height);
  Require(picture != nullptr || !MustBeMade(r, shown, displays), "nil without a reason");
  if (picture != nullptr) {
    // A picture has sides of up to 32767 pixels, and QuickDraw keeps the low 16 bits of those it
    // gets.
    Require(runtime::Host::Width(picture) == static_cast<int16_t>(shown.width) &&
                runtime::Host::Height(picture) == static_cast<int16_t>(shown.height),
            "the size of the picture");
    const bool isOwnSize = shown.width == r.width && shown.height == r.height;
    if (isOwnSize && IsPlain(r, displays)) CheckPixels(input, picture, r, displays);
  }
  Finish(host, picture);
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run(FuzzedDataProvider(data, size));
  return 0;
}
