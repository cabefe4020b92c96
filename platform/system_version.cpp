#include "platform/system_version.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace qrv {
namespace {

constexpr Version kDefaultVersion = {10, 7};

std::optional<int> ParseNumber(std::string_view digits) {
  int number = 0;
  const char* end = digits.data() + digits.size();
  const auto [rest, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || rest != end || number < 0) return std::nullopt;
  return number;
}

std::optional<Version> ParseVersion(std::string_view text) {
  const size_t point = text.find('.');
  if (point == std::string_view::npos) return std::nullopt;
  const std::optional<int> major = ParseNumber(text.substr(0, point));
  const std::optional<int> minor = ParseNumber(text.substr(point + 1));
  if (!major || !minor) return std::nullopt;
  return Version{*major, *minor};
}

}  // namespace

std::optional<Version> SystemVersion() noexcept {
  const char* text = secure_getenv("QRV_SYSTEM_VERSION");
  if (text == nullptr || *text == '\0') return kDefaultVersion;
  return ParseVersion(text);
}

bool SystemIsAtLeast(const Version& wanted) noexcept {
  const std::optional<Version> version = SystemVersion();
  return version && version->IsAtLeast(wanted);
}

}  // namespace qrv
