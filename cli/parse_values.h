// Values on the command line that are more than one word or number.
#ifndef CLI_PARSE_VALUES_H_
#define CLI_PARSE_VALUES_H_

#include <cstdint>
#include <optional>
#include <string_view>

namespace qrv::cli {

struct Rect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t width = 0;
  int32_t height = 0;
};

struct Size {
  int32_t width = 0;
  int32_t height = 0;

  bool operator==(const Size&) const = default;
};

// Each gives nothing for text that is anything else, a number beyond its type included.
std::optional<int32_t> ParseInteger(std::string_view text);
std::optional<double> ParseDecimal(std::string_view text);  // finite, not negative
std::optional<double> ParsePercent(std::string_view text);  // 25%, more than 0
std::optional<Rect> ParseRect(std::string_view text);       // X,Y,W,H or WxH+X+Y or "X,Y WxH"
std::optional<Size> ParseSize(std::string_view text);       // WxH, Wx or xH; a missing side is 0

// Whether the text is a system's version: major.minor.
bool IsSystemVersion(std::string_view text);

}  // namespace qrv::cli

#endif  // CLI_PARSE_VALUES_H_
