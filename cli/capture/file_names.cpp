#include "cli/capture/file_names.h"

#include <time.h>

#include <filesystem>
#include <system_error>

namespace qrv::cli {

namespace {

namespace fs = std::filesystem;

std::string DatedName() {
  const time_t now = time(nullptr);
  tm parts = {};
  char name[64];
  strftime(name, sizeof name, "screenshot-%Y%m%d-%H%M%S", localtime_r(&now, &parts));
  return name;
}

// With as many digits as the last number of the series has.
std::string Digits(int32_t number, int32_t last) {
  const std::string digits = std::to_string(number);
  return std::string(std::to_string(last).size() - digits.size(), '0') + digits;
}

}  // namespace

FileName ChooseFileName(const Arguments& arguments, int32_t number) {
  const std::string& output = arguments.output;
  std::error_code error;
  const bool isFolder = output.ends_with('/') || fs::is_directory(output, error);
  FileName name{output, Existing::kReplace};
  if (output.empty() || isFolder) {
    const fs::path dated = DatedName() + "." + arguments.encoding.format->name;
    name = {(fs::path(output) / dated).string(), Existing::kKeep};
  }
  if (!arguments.count) return name;
  return {WithSuffix(name.path, Digits(number, *arguments.count)), name.existing};
}

}  // namespace qrv::cli
