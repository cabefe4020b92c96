#include "platform/desktop/virtual/layout.h"

#include <algorithm>
#include <cstdio>

#include "platform/desktop/frames/pixel_format.h"

namespace qrv::desktop {
namespace {

constexpr size_t kMaxDisplays = 32;
constexpr int32_t kMaxPosition = 32767;
// Scales are in hundredths.
constexpr int32_t kNoScaling = 100;
constexpr int32_t kMaxScale = 400;
constexpr int kMaxDigits = 5;
constexpr size_t kMaxQuotedLength = 40;

class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool AtEnd() const { return rest_.empty(); }

  bool Take(char wanted) {
    if (rest_.empty() || rest_.front() != wanted) return false;
    rest_.remove_prefix(1);
    return true;
  }

  bool TakeDigit(int32_t& digit) {
    if (rest_.empty() || rest_.front() < '0' || rest_.front() > '9') return false;
    digit = rest_.front() - '0';
    rest_.remove_prefix(1);
    return true;
  }

  bool TakeNumber(int32_t& number) {
    number = 0;
    int digits = 0;
    for (int32_t digit = 0; TakeDigit(digit); number = number * 10 + digit) {
      if (++digits > kMaxDigits) return false;
    }
    return digits > 0;
  }

  // In hundredths: one or two digits may follow a point.
  bool TakeScale(int32_t& scale) {
    if (!TakeNumber(scale)) return false;
    scale *= 100;
    if (!Take('.')) return true;
    int32_t digit = 0;
    if (!TakeDigit(digit)) return false;
    scale += digit * 10;
    if (TakeDigit(digit)) scale += digit;
    return true;
  }

  bool TakePosition(int32_t& position) {
    const bool plus = Take('+');
    const bool minus = Take('-');
    if ((!plus && !minus) || !TakeNumber(position)) return false;
    if (minus) position = -position;
    return true;
  }

 private:
  std::string_view rest_;
};

// The options of an entry. Returns null, or what was expected.
const char* ParseOptions(Scanner& scanner, Display& display, int32_t& scale) {
  int32_t bitsPerPixel = 0;
  scale = 0;
  while (!scanner.AtEnd()) {
    if (bitsPerPixel == 0 && scanner.Take('@')) {
      if (!scanner.TakeNumber(bitsPerPixel) || bitsPerPixel == 30 ||
          !SetDepth(bitsPerPixel, display)) {
        return "expected @8, @16 or @32";
      }
    } else if (scale == 0 && scanner.Take('*')) {
      if (!scanner.TakeScale(scale) || scale < kNoScaling || scale > kMaxScale) {
        return "expected *1 to *4, such as *2 or *1.5";
      }
    } else {
      return "expected WIDTHxHEIGHT+X+Y, then @BITS or *SCALE at most once each";
    }
  }
  if (bitsPerPixel == 0) SetDepth(32, display);
  if (scale == 0) scale = kNoScaling;
  return nullptr;
}

// One entry, with its bounds as written. Returns null, or what was expected.
const char* ParseEntry(std::string_view entry, Display& display) {
  Scanner scanner(entry);
  PixelRect& bounds = display.bounds;
  if (!scanner.TakeNumber(bounds.width) || !scanner.Take('x') ||
      !scanner.TakeNumber(bounds.height) || !scanner.TakePosition(bounds.x) ||
      !scanner.TakePosition(bounds.y)) {
    return "expected WIDTHxHEIGHT+X+Y";
  }
  int32_t scale = kNoScaling;
  if (const char* expected = ParseOptions(scanner, display, scale); expected != nullptr) {
    return expected;
  }
  const auto toPixels = [scale](int32_t units) { return (units * scale + 50) / 100; };
  display.pixelWidth = toPixels(bounds.width);
  display.pixelHeight = toPixels(bounds.height);
  if (std::min(bounds.width, bounds.height) < 1 ||
      std::max(display.pixelWidth, display.pixelHeight) > kMaxSide) {
    return "expected sides of 1 to 32767 pixels";
  }
  const auto tooFar = [](int32_t position) {
    return position < -kMaxPosition || position > kMaxPosition;
  };
  if (tooFar(bounds.x) || tooFar(bounds.y)) return "expected positions of -32767 to 32767";
  return nullptr;
}

std::string DescribeEntry(size_t number, std::string_view entry, const char* expected) {
  std::string description = "layout entry " + std::to_string(number) + " '";
  for (const char each : entry.substr(0, kMaxQuotedLength)) {
    description += each >= ' ' && each <= '~' ? each : '?';
  }
  if (entry.size() > kMaxQuotedLength) description += "...";
  return description + "': " + expected;
}

void MoveMainToOrigin(std::vector<Display>& displays) {
  const PixelRect main = displays.front().bounds;
  for (Display& display : displays) {
    display.bounds.x -= main.x;
    display.bounds.y -= main.y;
  }
}

}  // namespace

bool ParseLayout(std::string_view layout, std::vector<Display>& displays, std::string& message) {
  displays.clear();
  for (size_t start = 0; start <= layout.size();) {
    const size_t end = std::min(layout.find(',', start), layout.size());
    const std::string_view entry = layout.substr(start, end - start);
    start = end + 1;

    Display display;
    display.id = static_cast<uint32_t>(displays.size()) + 1;
    std::snprintf(display.name, sizeof display.name, "VIRTUAL-%u", display.id);
    const char* expected = displays.size() == kMaxDisplays ? "expected at most 32 displays"
                                                           : ParseEntry(entry, display);
    if (expected != nullptr) {
      message = DescribeEntry(display.id, entry, expected);
      displays.clear();
      return false;
    }
    displays.push_back(display);
  }
  MoveMainToOrigin(displays);
  return true;
}

}  // namespace qrv::desktop
