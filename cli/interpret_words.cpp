#include "cli/interpret_words.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>
#include <utility>

#include "cli/nearest_word.h"

namespace qrv::cli {

namespace {

using runtime::ApplicationKind;

constexpr int32_t kLongestDelay = 86400;    // seconds
constexpr int32_t kMostOfASeries = 100000;  // files, and seconds between two

struct Application {
  const char* name;
  ApplicationKind kind;
};

constexpr Application kApplications[] = {{"desktop", ApplicationKind::kDesktop},
                                         {"console", ApplicationKind::kConsole},
                                         {"web", ApplicationKind::kWeb}};

// What can't be said at the same time, and what says nothing without the other.
constexpr std::pair<const char*, const char*> kExclusive[] = {{"--display", "--rect"},
                                                              {"--size", "--scale"},
                                                              {"--strategy", "--system-version"},
                                                              {"--quality", "--compression"},
                                                              {"--json", "--quiet"}};
constexpr std::pair<const char*, const char*> kNeeded[] = {{"--interval", "--count"}};

class Interpreter {
 public:
  Interpreter(const OptionWords& words, const std::vector<TypedOption>& options,
              Arguments& arguments)
      : words_(words), options_(options), arguments_(arguments) {}

  void Interpret() {
    RequireSense();
    InterpretHost();
    InterpretArea();
    InterpretScale();
    InterpretTime();
    InterpretOutput();
    arguments_.json = words_.json;
    if (arguments_.command == ConvertRaw) InterpretRaw();
  }

 private:
  const TypedOption* Find(const std::string& name) const {
    const auto found = std::find_if(options_.begin(), options_.end(),
                                    [&](const TypedOption& each) { return each.name == name; });
    return found == options_.end() ? nullptr : &*found;
  }

  std::string Typed(const char* name) const {
    const TypedOption* const option = Find(name);
    return option == nullptr ? name : option->typed;
  }

  [[noreturn]] static void Fail(const std::string& message) { throw UsageFault(message); }

  // `value` unless it is nothing, which is a fault of the option's text.
  template <typename Value>
  Value Require(const std::optional<Value>& value, const char* option, const std::string& text,
                const std::string& expected) const {
    if (!value) Fail(Typed(option) + " " + text + " is not " + expected);
    return *value;
  }

  int32_t RequireInteger(const char* option, const std::string& text, int32_t least,
                         int32_t most) const {
    const std::optional<int32_t> number = ParseInteger(text);
    const bool isWithin = number && *number >= least && *number <= most;
    return Require(isWithin ? number : std::nullopt, option, text,
                   "a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }

  // The entry of a table whose name the text is.
  template <typename Table>
  auto RequireEntry(const Table& table, const char* option, const std::string& text) const {
    std::vector<std::string> names;
    std::string list;
    for (const auto& each : table) {
      if (text == each.name) return &each;
      names.emplace_back(each.name);
      list += (names.size() == 1                  ? ""
               : names.size() == std::size(table) ? " or "
                                                  : ", ") +
              names.back();
    }
    Fail(Typed(option) + " " + text + " is not " + list + DidYouMean(text, names));
  }

  void RequireSense() const;
  void InterpretHost();
  void InterpretArea();
  void InterpretScale();
  void InterpretTime();
  void InterpretOutput();
  void InterpretEncoding();
  const ImageFormat* FormatOfName(const char* option) const;
  void InterpretRaw();

  const OptionWords& words_;
  const std::vector<TypedOption>& options_;
  Arguments& arguments_;
};

void Interpreter::RequireSense() const {
  for (const auto& [one, other] : kExclusive) {
    const TypedOption* first = Find(one);
    const TypedOption* second = Find(other);
    if (first == nullptr || second == nullptr) continue;
    if (second < first) std::swap(first, second);
    Fail(first->typed + " and " + second->typed + " can't be used together");
  }
  for (const auto& [one, other] : kNeeded) {
    if (Find(one) != nullptr && Find(other) == nullptr) {
      Fail(Typed(one) + " has no effect without " + other);
    }
  }
}

void Interpreter::InterpretHost() {
  arguments_.plugin = words_.plugin;
  arguments_.desktop = words_.desktop;
  arguments_.host.picturesHaveAlpha = words_.alpha;
  if (!words_.application.empty()) {
    arguments_.host.application = RequireEntry(kApplications, "--app", words_.application)->kind;
  }
  if (words_.hostVersion == "none") {
    arguments_.host.version.reset();
  } else if (!words_.hostVersion.empty()) {
    arguments_.host.version = Require(ParseDecimal(words_.hostVersion), "--host-version",
                                      words_.hostVersion, "a version such as 2013.03, nor none");
  }
  arguments_.systemVersion = words_.systemVersion;
  if (!words_.systemVersion.empty() && !IsSystemVersion(words_.systemVersion)) {
    Fail(Typed("--system-version") + " " + words_.systemVersion + " is not a version such as 10.6");
  }
  if (!words_.strategy.empty()) {
    arguments_.strategy = RequireEntry(kStrategies, "--strategy", words_.strategy);
    arguments_.systemVersion = arguments_.strategy->systemVersion;
  }
}

void Interpreter::InterpretArea() {
  arguments_.display = words_.display;
  arguments_.inUnits = words_.units;
  if (words_.rect.empty()) return;
  const Rect rect = Require(
      ParseRect(words_.rect), "--rect", words_.rect,
      "a rectangle in whole numbers: X,Y,W,H or WxH+X+Y or \"X,Y WxH\"; a negative place is "
      "10x10+-5+0, and places from the right or the bottom (-20-30) can't be given");
  if (std::min(rect.width, rect.height) < 1 ||
      std::max(rect.width, rect.height) > runtime::kMaximumPictureSide) {
    Fail(Typed("--rect") + " " + words_.rect + ": width and height must lie in 1 to 32767");
  }
  arguments_.rect = rect;
}

void Interpreter::InterpretScale() {
  if (!words_.scale.empty()) {
    arguments_.percent =
        Require(ParsePercent(words_.scale), "--scale", words_.scale, "a percentage such as 25%");
  }
  if (words_.size.empty()) return;
  const Size size = Require(ParseSize(words_.size), "--size", words_.size,
                            "a size: WxH, Wx or xH in whole numbers from 1");
  if (std::max(size.width, size.height) > runtime::kMaximumPictureSide) {
    Fail(Typed("--size") + " " + words_.size + ": width and height must lie in 1 to 32767");
  }
  arguments_.size = size;
}

void Interpreter::InterpretTime() {
  if (!words_.delay.empty()) {
    const std::optional<double> delay = ParseDecimal(words_.delay);
    arguments_.delay =
        Require(delay.value_or(kLongestDelay + 1) <= kLongestDelay ? delay : std::nullopt,
                "--delay", words_.delay, "a number of seconds from 0 to a day's");
  }
  if (words_.count.empty()) return;
  Series& series = arguments_.series.emplace();
  series.count = RequireInteger("--count", words_.count, 1, kMostOfASeries);
  if (!words_.interval.empty()) {
    series.interval = RequireInteger("--interval", words_.interval, 0, kLongestDelay * 1000);
  }
}

// A file name behind --output and one on its own mean the same. One on its own overrules the
// --output of an alias or a script before it; the other way round somebody has named two files.
void Interpreter::InterpretOutput() {
  const TypedOption* const option = Find("--output");
  const TypedOption* const file = Find("FILE");
  const bool isFile = arguments_.command == Capture && file != nullptr;
  if (isFile && option > file) {
    Fail(file->typed + " and " + option->typed + " " + words_.output + " both name the file");
  }
  arguments_.output = isFile ? words_.file : words_.output;
  arguments_.copies = words_.copy;
  if (arguments_.command == WriteRaw && words_.output.empty()) arguments_.output = "screenshot.raw";
  if (arguments_.series && arguments_.output == "-") {
    Fail(Typed(isFile ? "FILE" : "--output") + " can't be standard output with --count");
  }
  if (arguments_.command == Capture || arguments_.command == ConvertRaw) {
    arguments_.encoding.format = FormatOfName(isFile ? "FILE" : "--output");
    InterpretEncoding();
  }
}

// The format that the user names, else that of the file's name, else PNG.
const ImageFormat* Interpreter::FormatOfName(const char* option) const {
  if (!words_.format.empty()) return RequireEntry(kImageFormats, "--format", words_.format);
  // Names that are a kind of image to people, which isn't written here.
  static constexpr const char* kOthers[] = {"avif", "bmp", "gif", "jxl", "tif", "tiff", "xwd"};
  std::string extension = std::filesystem::path(arguments_.output).extension();
  if (!extension.empty()) extension.erase(0, 1);
  for (char& letter : extension) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  for (const ImageFormat& each : kImageFormats) {
    if (extension == each.name) return &each;
  }
  if (std::find(std::begin(kOthers), std::end(kOthers), extension) != std::end(kOthers)) {
    Fail((Find(option)->typed == arguments_.output ? "" : Typed(option) + " ") + arguments_.output +
         ": qrvshot writes png, jpg, webp and ppm, not " + extension +
         "; name the file so, or choose with --format");
  }
  return &kImageFormats[0];
}

void Interpreter::InterpretEncoding() {
  Encoding& encoding = arguments_.encoding;
  const std::string format = std::string(" has no effect on ") + encoding.format->name + " files";
  if (!words_.quality.empty()) {
    if (!encoding.format->hasQuality) Fail(Typed("--quality") + format);
    encoding.quality = RequireInteger("--quality", words_.quality, 1, 100);
  }
  if (!words_.compression.empty()) {
    if (!encoding.format->hasCompression) Fail(Typed("--compression") + format);
    encoding.compression = RequireInteger("--compression", words_.compression, 0, 9);
  }
}

void Interpreter::InterpretRaw() {
  const int32_t most = runtime::kMaximumPictureSide;
  arguments_.input = words_.input;
  arguments_.width = RequireInteger("--width", words_.width, 1, most);
  arguments_.height = RequireInteger("--height", words_.height, 1, most);
  arguments_.rowBytes = RequireInteger("--row-bytes", words_.rowBytes, 1, INT32_MAX);
}

}  // namespace

void InterpretWords(const OptionWords& words, const std::vector<TypedOption>& options,
                    Arguments& arguments) {
  Interpreter(words, options, arguments).Interpret();
}

}  // namespace qrv::cli
