// Values on the command line that are more than one word or number.
#ifndef CLI_PARSE_VALUES_H_
#define CLI_PARSE_VALUES_H_

#include <cstdint>
#include <optional>
#include <string_view>

namespace qrv::cli {

// In the global display space.
struct Rect {
  int32_t left = 0;
  int32_t top = 0;
  int32_t width = 0;
  int32_t height = 0;
};

struct Size {
  int32_t width = 0;
  int32_t height = 0;
};

// Each gives nothing for text that is anything else, a number beyond 32 bits included.
std::optional<int32_t> ParseInteger(std::string_view text);
std::optional<Rect> ParseRect(std::string_view text);  // L,T,W,H
std::optional<Size> ParseSize(std::string_view text);  // WxH

// A host's version such as 2013.03.
std::optional<double> ParseHostVersion(std::string_view text);

// Whether the text is a system's version: major.minor.
bool IsSystemVersion(std::string_view text);

}  // namespace qrv::cli

#endif  // CLI_PARSE_VALUES_H_
