#include "cli/parse_values.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <utility>

#include <screenshotqrv/host.h>

namespace qrv::cli {

namespace {

constexpr double kLongestTime = 86400;  // seconds
constexpr int32_t kMostCaptures = 100000;

constexpr std::pair<std::string_view, double> kTimeUnits[] = {
    {"ms", 0.001}, {"s", 1}, {"m", 60}, {"h", 3600}};

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// Finite, not negative.
std::optional<double> ParseDecimal(std::string_view text) {
  const std::optional<double> number = ParseNumber<double>(text);
  return number && std::isfinite(*number) && !std::signbit(*number) ? number : std::nullopt;
}

// Fills numbers from text that has these separators between each two.
bool ParseList(std::string_view text, std::string_view separators, int32_t* numbers) {
  for (const char separator : separators) {
    const size_t length = text.find(separator);
    if (length == std::string_view::npos) return false;
    const std::optional<int32_t> number = ParseInteger(text.substr(0, length));
    if (!number) return false;
    *numbers++ = *number;
    text.remove_prefix(length + 1);
  }
  const std::optional<int32_t> last = ParseInteger(text);
  *numbers = last.value_or(0);
  return last.has_value();
}

bool IsSide(int32_t length) { return length >= 1 && length <= kMaxPictureSide; }

// An omitted side is 0.
bool ParseSide(std::string_view digits, int32_t& side) {
  side = ParseInteger(digits).value_or(0);
  return digits.empty() || IsSide(side);
}

}  // namespace

std::optional<int32_t> ParseInteger(std::string_view text) {
  int32_t number = text.starts_with('-') ? INT32_MIN : INT32_MAX;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error != std::errc::invalid_argument && stop == end ? std::optional(number) : std::nullopt;
}

bool IsSystemVersion(std::string_view text) {
  const size_t dot = text.find('.');
  return dot != std::string_view::npos && ParseNumber<uint16_t>(text.substr(0, dot)) &&
         ParseNumber<uint16_t>(text.substr(dot + 1));
}

std::string ReadText(const std::string& text, std::string& target) {
  target = text;
  return "";
}

std::string ReadTime(const std::string& text, double& seconds) {
  std::string_view number = text;
  double unit = 1;
  for (const auto& [name, length] : kTimeUnits) {
    if (!number.ends_with(name)) continue;
    number.remove_suffix(name.size());
    unit = length;
    break;
  }
  seconds = ParseDecimal(number).value_or(INFINITY) * unit;
  return seconds <= kLongestTime ? ""
                                 : "a time up to a day: seconds, such as 3 or 0.5, or 500ms, 2m";
}

std::string ReadCount(const std::string& text, std::optional<int32_t>& count) {
  count = text == "forever" ? 0 : ParseInteger(text).value_or(-1);
  return *count >= 0 && *count <= kMostCaptures
             ? ""
             : "a number of captures up to 100000, nor 0 or forever for those until you stop it";
}

std::string ReadPercent(const std::string& text, std::optional<double>& percent) {
  if (text.ends_with('%')) percent = ParseDecimal(text.substr(0, text.size() - 1));
  if (percent > 0) return "";
  const double number = ParseDecimal(text).value_or(0);
  if (number <= 0) return "a percentage such as 25%";
  char meant[32];
  snprintf(meant, sizeof meant, "%g%%", number * (number < 5 ? 100 : 1));
  return "a percentage; did you mean " + std::string(meant) + "?";
}

std::string ReadRect(const std::string& text, std::optional<Rect>& rect) {
  int32_t n[4];
  if (ParseList(text, ",,,", n) || ParseList(text, ", x", n)) {
    rect = {n[0], n[1], n[2], n[3]};
  } else if (ParseList(text, "x++", n)) {
    rect = {n[2], n[3], n[0], n[1]};
  } else {
    return "a rectangle in whole numbers: X,Y,W,H or WxH+X+Y or \"X,Y WxH\"; a negative place is "
           "10x10+-5+0, and places from the right or the bottom (-20-30) can't be given";
  }
  return IsSide(rect->width) && IsSide(rect->height)
             ? ""
             : "a rectangle whose width and height lie in 1 to 32767";
}

std::string ReadSize(const std::string& text, std::optional<Size>& size) {
  const size_t middle = std::min(text.find('x'), text.size());
  const std::string_view height = std::string_view(text).substr(middle);
  size.emplace();
  const bool isSize = text.size() > 1 && height.starts_with('x') &&
                      ParseSide(text.substr(0, middle), size->width) &&
                      ParseSide(height.substr(1), size->height);
  return isSize ? "" : "a size: WxH, Wx or xH in whole numbers from 1 to 32767";
}

std::string ReadDesktop(const std::string& text, std::string& desktop) {
  desktop = text;
  return text.starts_with(':') ? "a kind of desktop; did you mean x11:" + text + "?" : "";
}

std::string ReadHostVersion(const std::string& text, std::optional<double>& version) {
  version = ParseDecimal(text);
  return version || text == "none" ? "" : "a version such as 2013.03, nor none";
}

std::string ReadSystemVersion(const std::string& text, std::string& version) {
  version = text;
  return IsSystemVersion(text) ? "" : "a version such as 10.6";
}

}  // namespace qrv::cli
