#include "cli/parse_values.h"

#include <charconv>
#include <cmath>
#include <cstddef>

namespace qrv::cli {

namespace {

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
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

}  // namespace

std::optional<int32_t> ParseInteger(std::string_view text) { return ParseNumber<int32_t>(text); }

std::optional<double> ParseDecimal(std::string_view text) {
  const std::optional<double> number = ParseNumber<double>(text);
  return number && std::isfinite(*number) && !std::signbit(*number) ? number : std::nullopt;
}

std::optional<double> ParsePercent(std::string_view text) {
  if (!text.ends_with('%')) return std::nullopt;
  const std::optional<double> percent = ParseDecimal(text.substr(0, text.size() - 1));
  return percent && *percent > 0 ? percent : std::nullopt;
}

std::optional<Rect> ParseRect(std::string_view text) {
  int32_t n[4];
  if (ParseList(text, ",,,", n) || ParseList(text, ", x", n)) return Rect{n[0], n[1], n[2], n[3]};
  if (ParseList(text, "x++", n)) return Rect{n[2], n[3], n[0], n[1]};
  return std::nullopt;
}

std::optional<Size> ParseSize(std::string_view text) {
  const size_t middle = text.find('x');
  if (middle == std::string_view::npos || text.size() == 1) return std::nullopt;
  Size size;
  for (auto [side, digits] : {std::pair(&size.width, text.substr(0, middle)),
                              std::pair(&size.height, text.substr(middle + 1))}) {
    if (digits.empty()) continue;
    const std::optional<int32_t> number = ParseInteger(digits);
    if (!number || *number < 1) return std::nullopt;
    *side = *number;
  }
  return size;
}

bool IsSystemVersion(std::string_view text) {
  const size_t dot = text.find('.');
  return dot != std::string_view::npos && ParseNumber<uint16_t>(text.substr(0, dot)) &&
         ParseNumber<uint16_t>(text.substr(dot + 1));
}

}  // namespace qrv::cli
