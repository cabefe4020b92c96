#include "cli/capture/file_names.h"

#include <limits.h>
#include <stdlib.h>
#include <strings.h>
#include <time.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace qrv::cli {

namespace {

namespace fs = std::filesystem;

constexpr char kDatedName[] = "screenshot-%Y%m%d-%H%M%S";
constexpr int32_t kSomeThousands = 1000;  // the digits of a series without an end

std::string DefaultFolder() {
  for (const char* const name : {"QRV_FOLDER", "XDG_PICTURES_DIR"}) {
    const char* const folder = getenv(name);
    if (folder != nullptr && *folder != '\0') return std::string(folder) + "/";
  }
  return "";
}

// At least `width` digits.
std::string Digits(int32_t number, size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

// Puts the number in place of each %03d, %4d and so on, which pads it with zeros. %d is the day.
std::string WithNumber(const std::string& pattern, int32_t number) {
  std::string name;
  for (size_t i = 0; i < pattern.size(); ++i) {
    const size_t end = pattern.find_first_not_of("0123456789", i + 1);
    const size_t digits = end == std::string::npos ? 0 : end - i - 1;
    if (pattern[i] != '%' || digits == 0 || digits > 2 || pattern[end] != 'd') {
      name += pattern[i];
      if (pattern.compare(i, 2, "%%") == 0) name += pattern[++i];
      continue;
    }
    name += Digits(number, static_cast<size_t>(*ParseInteger(pattern.substr(i + 1, digits))));
    i = end;
  }
  return name;
}

bool HasNumber(const std::string& pattern) { return WithNumber(pattern, 1) != pattern; }

// With strftime's sequences replaced; as it is when it has none, or becomes too long.
std::string WithTime(const std::string& pattern) {
  if (pattern.find('%') == std::string::npos) return pattern;
  const time_t now = time(nullptr);
  tm parts = {};
  char name[PATH_MAX];
  return strftime(name, sizeof name, pattern.c_str(), localtime_r(&now, &parts)) > 0 ? name
                                                                                     : pattern;
}

}  // namespace

FileName ChooseFileName(const Arguments& arguments, int32_t number) {
  const std::string& output = arguments.output;
  if (IsStream(output)) return {output, Existing::kReplace};
  const bool isNumbered = HasNumber(output);
  std::error_code error;
  Existing existing = arguments.keepsFiles ? Existing::kKeep : Existing::kReplace;
  const auto make = [&](int32_t each) {
    std::string path = output.empty() ? DefaultFolder() : WithTime(WithNumber(output, each));
    if (path.empty() || path.ends_with('/') || fs::is_directory(path, error)) {
      const std::string dated = WithTime(kDatedName) + "." + arguments.encoding.format->name;
      path = (fs::path(path) / dated).string();
      existing = Existing::kKeep;  // A name that the user did not choose replaces nothing.
    }
    if (!arguments.IsSeries() || isNumbered) return path;
    const int32_t last = *arguments.count == 0 ? kSomeThousands : *arguments.count;
    return WithSuffix(path, Digits(each, std::to_string(last).size()));
  };
  std::string path = make(number);
  const bool takesFree = arguments.IsSeries() ? existing == Existing::kKeep : isNumbered;
  while (takesFree && number < INT32_MAX && fs::exists(path, error)) path = make(++number);
  return {path, existing};
}

const ImageFormat* FormatOfName(const std::string& path) {
  const std::string extension = fs::path(path).extension();
  return extension.empty() ? nullptr : FindImageFormat(extension.substr(1));
}

}  // namespace qrv::cli
