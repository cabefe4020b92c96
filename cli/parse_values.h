// Values on the command line.
#ifndef CLI_PARSE_VALUES_H_
#define CLI_PARSE_VALUES_H_

#include <cstdint>
#include <optional>
#include <string>
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

// Nothing for any other text. A number beyond the type is the one at its end.
std::optional<int32_t> ParseInteger(std::string_view text);

// Whether the text is a system's version: major.minor.
bool IsSystemVersion(std::string_view text);

// Each stores what the text says. Returns what the text should have been, empty when it is that.
// Widths and heights are those that a picture can have.
std::string ReadText(const std::string& text, std::string& target);
std::string ReadTime(const std::string& text, double& seconds);  // seconds, or 500ms, 3s, 2m, 1h
std::string ReadCount(const std::string& text, std::optional<int32_t>& count);  // 0 for forever
std::string ReadPercent(const std::string& text, std::optional<double>& percent);
std::string ReadRect(const std::string& text, std::optional<Rect>& rect);
std::string ReadSize(const std::string& text, std::optional<Size>& size);  // a missing side is 0
std::string ReadDesktop(const std::string& text, std::string& desktop);
std::string ReadHostVersion(const std::string& text, std::optional<double>& version);
std::string ReadSystemVersion(const std::string& text, std::string& version);

}  // namespace qrv::cli

#endif  // CLI_PARSE_VALUES_H_
