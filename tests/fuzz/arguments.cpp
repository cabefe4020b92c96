// The command line of qrvshot, one argument a line: understood, or refused as wrong usage.

#include "cli/arguments.h"

#include <algorithm>
#include <string>
#include <vector>

#include "cli/failure.h"
#include "tests/fuzz/fuzz.h"

namespace qrv::fuzz {
namespace {

using cli::Arguments;

// No argument can hold a zero byte.
std::vector<std::string> SplitLines(const uint8_t* data, size_t size) {
  std::vector<std::string> lines = {"qrvshot"};
  if (size > 0) lines.emplace_back();
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == '\n' || data[i] == 0) {
      lines.emplace_back();
    } else {
      lines.back() += static_cast<char>(data[i]);
    }
  }
  return lines;
}

void Check(const Arguments& arguments) {
  Require(!(arguments.rect && arguments.display), "a display or a rectangle");
  Require(!arguments.size || arguments.rect, "a size with a rectangle");
  Require(!arguments.output.empty(), "an output");
  Require(arguments.systemVersion.empty() || cli::IsSystemVersion(arguments.systemVersion),
          "a system's version");
  Require(arguments.compression.value_or(0) >= 0 && arguments.compression.value_or(0) <= 9,
          "the compression");
  Require(arguments.command != cli::Command::kFromRaw || !arguments.input.empty(), "an input");
}

void Run(const std::vector<std::string>& lines) {
  std::vector<const char*> words;
  words.reserve(lines.size() + 1);
  for (const std::string& line : lines) words.push_back(line.c_str());
  words.push_back(nullptr);
  try {
    const auto arguments = cli::ParseArguments(static_cast<int>(lines.size()), words.data());
    if (arguments) Check(*arguments);
  } catch (const cli::Failure& failure) {
    Require(failure.Code() == cli::kWrongUsage && *failure.what() != '\0', "wrong usage, said why");
  }
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run(qrv::fuzz::SplitLines(data, size));
  return 0;
}
