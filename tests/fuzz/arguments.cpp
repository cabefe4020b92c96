// The command line of qrvshot, one argument a line: understood, or refused as wrong usage.

#include "cli/line/command_line.h"

#include <algorithm>
#include <sstream>

#include "cli/failure.h"
#include "tests/fuzz/fuzz.h"

namespace qrv::fuzz {
namespace {

using cli::Arguments;

std::optional<Arguments> Parse(const std::vector<std::string>& lines) {
  std::vector<const char*> words = {"qrvshot"};
  for (const std::string& line : lines) words.push_back(line.c_str());
  words.push_back(nullptr);
  return cli::ParseArguments(static_cast<int>(words.size()) - 1, words.data());
}

void Check(const Arguments& arguments) {
  Require(!arguments.rect || arguments.display.empty(), "a display or a rectangle");
  Require(!arguments.size || !arguments.percent, "a size or a scale");
  Require(!arguments.size || arguments.size->width > 0 || arguments.size->height > 0, "a side");
  Require(arguments.systemVersion.empty() || cli::IsSystemVersion(arguments.systemVersion),
          "a system's version");
  const int compression = arguments.encoding.compression.value_or(0);
  Require(compression >= 0 && compression <= 9, "the compression");
  Require(arguments.command != cli::ConvertRaw || !arguments.input.empty(), "an input");
}

// No argument can hold a zero byte.
void Run(std::string text) {
  std::replace(text.begin(), text.end(), '\0', '\n');
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  if (text.ends_with('\n')) lines.emplace_back();
  try {
    const auto arguments = Parse(lines);
    if (arguments) Check(*arguments);
  } catch (const cli::Failure& failure) {
    Require(failure.code() == cli::kWrongUsage && *failure.what() != '\0', "wrong usage, said why");
  }
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run({reinterpret_cast<const char*>(data), size});
  return 0;
}
