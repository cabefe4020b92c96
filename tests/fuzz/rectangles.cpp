// Both rectangle methods with any integers, on any layout of the virtual desktop, by every strategy
// and in every host, through the frameworks as built. The picture is nil, which it may be only
// beyond limits, or of the size asked for; at its own size, and where nothing wraps around, each
// pixel is the test card's.

#include <algorithm>
#include <cstring>
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

struct Request {
  int32_t left, top, width, height;
};

// An environment variable that is changed in place: setenv keeps every value that it was ever
// given.
template <size_t size>
class Variable {
 public:
  explicit Variable(const char* name) {
    std::snprintf(text_, size, "%s=", name);
    start_ = std::strlen(text_);
    putenv(text_);
  }
  void Set(const std::string& value) {
    std::snprintf(text_ + start_, size - start_, "%s", value.c_str());
  }

 private:
  char text_[size];
  size_t start_;
};

struct Size {
  int32_t width, height;
};

// Large in both directions only rarely: what has many pixels takes long.
template <typename PickSide>
Size PickSize(FuzzedDataProvider& input, const PickSide& pickSide) {
  Size size = {pickSide(), pickSide()};
  const bool large = int64_t{size.width} * size.height > kManyPixels;
  if (large && input.ConsumeIntegralInRange(0, 63) != 0) size.height = size.height % 8 + 1;
  return size;
}

std::string PickLayout(FuzzedDataProvider& input) {
  const auto pickPosition = [&input] {
    const int limit = input.ConsumeBool() ? 600 : 32767;
    return "+" + std::to_string(input.ConsumeIntegralInRange(-limit, limit));
  };
  std::string layout;
  const int count = input.ConsumeIntegralInRange(1, 4);
  for (int i = 0; i < count; ++i) {
    if (i > 0) layout += ",";
    const Size size = PickSize(input, [&input] {
      return input.ConsumeIntegralInRange(1, input.ConsumeBool() ? 300 : 32767);
    });
    layout += std::to_string(size.width) + "x" + std::to_string(size.height) + pickPosition() +
              pickPosition();
    const int options = input.ConsumeIntegralInRange(0, 15);
    if (options == 0) layout += "@8";
    if (options == 1) layout += "@16";
    if (options == 2) layout += "*" + std::to_string(input.ConsumeIntegralInRange(1, 4));
  }
  return layout;
}

// Any integer, or one near the displays' edges.
int32_t PickCoordinate(FuzzedDataProvider& input, const std::vector<Display>& displays) {
  switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0:
      return input.ConsumeIntegral<int32_t>();
    case 1:
      return input.ConsumeIntegral<int16_t>();
    case 2:
    case 3: {
      if (displays.empty()) return 0;
      const size_t index = input.ConsumeIntegralInRange<size_t>(0, displays.size() - 1);
      const PixelRect& bounds = displays[index].bounds;
      const int32_t edges[] = {bounds.x, bounds.y, bounds.x + bounds.width,
                               bounds.y + bounds.height};
      return input.PickValueInArray(edges) + input.ConsumeIntegralInRange(-2, 2);
    }
    default:
      return input.ConsumeIntegralInRange(-600, 600);
  }
}

int32_t PickSide(FuzzedDataProvider& input) {
  const int kind = input.ConsumeIntegralInRange(0, 7);
  if (kind == 0) return input.ConsumeIntegral<int32_t>();
  if (kind == 1) return input.ConsumeIntegral<int16_t>();
  return input.ConsumeIntegralInRange(1, 400);
}

bool IsShort(int64_t number) { return number >= INT16_MIN && number <= INT16_MAX; }

bool IsShort(int64_t x, int64_t y, int64_t width, int64_t height) {
  return IsShort(x) && IsShort(y) && IsShort(x + width) && IsShort(y + height);
}

// Whether what the rectangle shows is known: one pixel a unit, and all edges in 16 bits, in which
// QuickDraw keeps them.
bool IsPlain(const Request& r, const std::vector<Display>& displays) {
  return IsShort(r.left, r.top, r.width, r.height) &&
         std::all_of(displays.begin(), displays.end(), [](const Display& each) {
           const PixelRect& b = each.bounds;
           return each.pixelWidth == b.width && IsShort(b.x, b.y, b.width, b.height);
         });
}

bool IsSmall(int64_t width, int64_t height) {
  return std::min(width, height) >= 1 && std::max(width, height) <= 32767 &&
         width * height <= kMaxCertainPixels;
}

bool MustBeMade(const Request& r, const Request& shown, const std::vector<Display>& displays) {
  return !displays.empty() && IsPlain(r, displays) && IsSmall(r.width, r.height) &&
         IsSmall(shown.width, shown.height) &&
         std::all_of(displays.begin(), displays.end(), [](const Display& each) {
           return IsSmall(each.pixelWidth, each.pixelHeight);
         });
}

// Where displays overlap, either may be in front.
void CheckPixel(const std::vector<Display>& displays, int32_t x, int32_t y, const uint8_t* rgba) {
  const uint32_t actual = static_cast<uint32_t>(rgba[0] << 16 | rgba[1] << 8 | rgba[2]);
  bool mayBeBlack = true;
  for (size_t i = 0; i < displays.size(); ++i) {
    const auto card = testing::CardColor(displays, i, x, y);
    if (!card) continue;
    if (actual == *card) return;
    mayBeBlack = !IsSmall(displays[i].pixelWidth, displays[i].pixelHeight);
  }
  Require(mayBeBlack && actual == 0, "a pixel");
}

void CheckPixels(FuzzedDataProvider& input, const REALpictureStruct* picture, const Request& r,
                 const std::vector<Display>& displays) {
  std::vector<uint8_t> row(static_cast<size_t>(r.width) * 4);
  for (int i = 0; i < kSamples; ++i) {
    const int32_t y = input.ConsumeIntegralInRange(0, r.height - 1);
    const int32_t x = input.ConsumeIntegralInRange(0, r.width - 1);
    runtime::Host::ReadRow(picture, y, row.data());
    const int32_t places[] = {x, 0, r.width - 1};
    for (const int32_t place : places) {
      CheckPixel(displays, r.left + place, r.top + y, row.data() + ptrdiff_t{place} * 4);
    }
    if (input.remaining_bytes() == 0) break;  // the same ones from here on
  }
}

std::string Describe(const std::string& layout, const Request& r, const Request& shown) {
  const auto size = [](const Request& each) {
    return std::to_string(each.width) + "x" + std::to_string(each.height);
  };
  return "virtual:" + layout + ", system " + getenv("QRV_SYSTEM_VERSION") + ", " + size(r) +
         " at " + std::to_string(r.left) + "," + std::to_string(r.top) + " to " + size(shown);
}

void CheckPicture(FuzzedDataProvider& input, const REALpictureStruct* picture, const Request& r,
                  const Request& shown, const std::vector<Display>& displays) {
  // A picture has sides of up to 32767 pixels, and QuickDraw keeps the low 16 bits of those it
  // gets.
  Require(runtime::Host::Width(picture) == static_cast<int16_t>(shown.width) &&
              runtime::Host::Height(picture) == static_cast<int16_t>(shown.height),
          "the size of the picture");
  const bool ownSize = shown.width == r.width && shown.height == r.height;
  if (ownSize && IsPlain(r, displays)) CheckPixels(input, picture, r, displays);
}

void Run(FuzzedDataProvider& input) {
  static Variable<256> desktopVariable("QRV_DESKTOP");
  static Variable<64> systemVariable("QRV_SYSTEM_VERSION");
  const std::string layout = PickLayout(input);
  desktopVariable.Set("virtual:" + layout);
  systemVariable.Set(input.PickValueInArray({"10.7", "10.6", "10.4"}));
  std::vector<Display> displays;  // none when the layout is refused
  std::string problem;
  desktop::ParseLayout(layout, displays, problem);

  runtime::Host host(PickHost(input));
  StartAnew(host);
  const auto pickSide = [&input] { return PickSide(input); };
  const Size size = PickSize(input, pickSide);
  const Request r = {PickCoordinate(input, displays), PickCoordinate(input, displays), size.width,
                     size.height};
  const bool scaled = input.ConsumeBool();
  Request shown = r;
  if (scaled && input.ConsumeBool()) {
    const Size other = PickSize(input, pickSide);
    shown.width = other.width;
    shown.height = other.height;
  }
  currentCase = Describe(layout, r, shown);
  REALpictureStruct* picture =
      scaled ? ScreenshotRectDestQRV(r.left, r.top, r.width, r.height, shown.width, shown.height)
             : ScreenshotRectQRV(r.left, r.top, r.width, r.height);
  Require(picture != nullptr || !MustBeMade(r, shown, displays), "nil without a reason");
  if (picture != nullptr) CheckPicture(input, picture, r, shown, displays);
  host.Release(picture);
  Require(host.Outstanding() == runtime::Ledger{}, "nothing held");
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  qrv::fuzz::Run(input);
  return 0;
}
