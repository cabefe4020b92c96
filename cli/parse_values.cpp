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

// Fills exactly `count` numbers from text that has one separator between each two.
bool ParseList(std::string_view text, char separator, int32_t* numbers, size_t count) {
  for (size_t index = 0; index < count; ++index) {
    const bool last = index + 1 == count;
    const size_t length = last ? text.size() : text.find(separator);
    if (length == std::string_view::npos) return false;
    const std::optional<int32_t> number = ParseInteger(text.substr(0, length));
    if (!number) return false;
    numbers[index] = *number;
    text.remove_prefix(last ? length : length + 1);
  }
  return true;
}

}  // namespace

std::optional<int32_t> ParseInteger(std::string_view text) { return ParseNumber<int32_t>(text); }

std::optional<Rect> ParseRect(std::string_view text) {
  int32_t numbers[4];
  return ParseList(text, ',', numbers, 4)
             ? std::optional(Rect{numbers[0], numbers[1], numbers[2], numbers[3]})
             : std::nullopt;
}

std::optional<Size> ParseSize(std::string_view text) {
  int32_t numbers[2];
  return ParseList(text, 'x', numbers, 2) ? std::optional(Size{numbers[0], numbers[1]})
                                          : std::nullopt;
}

std::optional<double> ParseHostVersion(std::string_view text) {
  const std::optional<double> version = ParseNumber<double>(text);
  return version && std::isfinite(*version) && *version >= 0 ? version : std::nullopt;
}

bool IsSystemVersion(std::string_view text) {
  const size_t dot = text.find('.');
  return dot != std::string_view::npos && ParseNumber<uint16_t>(text.substr(0, dot)) &&
         ParseNumber<uint16_t>(text.substr(dot + 1));
}

}  // namespace qrv::cli
