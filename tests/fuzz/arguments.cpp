// The command line of qrvshot, one argument a line: understood, or refused as wrong usage. And one
// of any rectangle, which is understood.

#include "cli/arguments.h"

#include <optional>
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
  Require(!arguments.rect || arguments.display.empty(), "a display or a rectangle");
  Require(!arguments.size || !arguments.percent, "a size or a scale");
  Require(!arguments.size || arguments.size->width > 0 || arguments.size->height > 0, "a side");
  Require(!arguments.series || arguments.output != "-", "a series in files");
  Require(arguments.systemVersion.empty() || cli::IsSystemVersion(arguments.systemVersion),
          "a system's version");
  const int compression = arguments.encoding.compression.value_or(0);
  Require(compression >= 0 && compression <= 9, "the compression");
  Require(arguments.command != cli::ConvertRaw || !arguments.input.empty(), "an input");
}

std::optional<Arguments> Parse(const std::vector<std::string>& lines) {
  std::vector<const char*> words;
  words.reserve(lines.size() + 1);
  for (const std::string& line : lines) words.push_back(line.c_str());
  words.push_back(nullptr);
  return cli::ParseArguments(static_cast<int>(lines.size()), words.data());
}

void Run(const std::vector<std::string>& lines) {
  try {
    const auto arguments = Parse(lines);
    if (arguments) Check(*arguments);
  } catch (const cli::Failure& failure) {
    Require(failure.Code() == cli::kWrongUsage && *failure.what() != '\0', "wrong usage, said why");
  }
}

// A refusal ends the program.
void RunRectangle(FuzzedDataProvider input) {
  std::string text = "--rect=";
  int32_t numbers[4];
  for (int32_t& each : numbers) {
    each = &each < numbers + 2 ? input.ConsumeIntegral<int32_t>()
                               : input.ConsumeIntegralInRange(1, runtime::kMaximumPictureSide);
    text += (&each == numbers ? "" : ",") + std::to_string(each);
  }
  const auto arguments = Parse({"qrvshot", "capture", text});
  Require(arguments && arguments->rect && arguments->rect->left == numbers[0] &&
              arguments->rect->top == numbers[1] && arguments->rect->width == numbers[2] &&
              arguments->rect->height == numbers[3],
          "the rectangle");
}

}  // namespace
}  // namespace qrv::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qrv::fuzz::Run(qrv::fuzz::SplitLines(data, size));
  // Once more where it costs little: four numbers.
  if (size <= 16) qrv::fuzz::RunRectangle(FuzzedDataProvider(data, size));
  return 0;
}
