#include "cli/line/command_line.h"

#include <getopt.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>

#include "cli/failure.h"
#include "cli/line/help.h"
#include "cli/line/options.h"
#include "cli/line/word_lists.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

using Words = std::vector<std::string>;

constexpr std::string_view kComplete = "--complete";
constexpr int kFirstLong = 256;  // the codes of long options to getopt_long, beyond all letters

struct GivenOption {
  const Option* option;
  std::string typed;  // "-o", "--output", or the file's name
  std::string value;

  // "-o a.png"
  std::string Text() const { return typed == value ? typed : typed + " " + value; }
};

// What the user typed, as options and files.
struct CommandLine {
  const CommandEntry* command = &kProgram;
  std::vector<GivenOption> given;      // in the user's order; of one given twice, the last
  const Option* unfinished = nullptr;  // the last one, when the line ends before its value
  std::string fault;                   // the first; empty when there is none

  const GivenOption* Find(std::string_view name) const {
    const auto found = std::ranges::find_if(
        given, [&](const GivenOption& each) { return each.option->name == name; });
    return found == given.end() ? nullptr : &*found;
  }

  void SetFault(const std::string& text) {
    if (fault.empty()) fault = text;
  }

  void Add(const Option& option, const std::string& typed, const std::string& value) {
    std::erase_if(given, [&](const GivenOption& each) { return each.option->name == option.name; });
    given.push_back({&option, typed, value});
  }
};

const Option& OptionOf(int code) {
  return code < kFirstLong ? *std::ranges::find(Options(), code, &Option::letter)
                           : Options()[static_cast<size_t>(code - kFirstLong)];
}

std::string Typed(int code) {
  return code < kFirstLong ? std::string("-") + static_cast<char>(code) : OptionOf(code).name;
}

Words CommandNames() {
  Words names;
  for (const CommandEntry& each : Commands()) names.emplace_back(each.name);
  return names;
}

// Short forms too.
Words OptionNames(const CommandEntry& command) {
  Words names;
  for (const Option* each : OptionsOf(command)) {
    if (each->letter != 0) names.push_back(std::string("-") + each->letter);
    if (!each->IsFile()) names.push_back(each->name);
  }
  return names;
}

std::string DescribeNoOption(const CommandEntry& command, const std::string& name) {
  return command.Call() + " has no option " + name + DidYouMean(name, OptionNames(command));
}

std::string DescribeNoCommand(const CommandLine& line, const std::string& word) {
  std::string meant = DidYouMean(word, CommandNames());
  if (word.find_first_of("./") != std::string::npos) {
    meant = "; did you mean `qrvshot capture " + word + "`?";
  } else if (!line.given.empty()) {
    meant = "; did you mean `qrvshot capture " + line.given.front().typed + "`?";
  } else if (meant.empty()) {
    meant = "; there are " + JoinWords(CommandNames(), " and ");
  }
  return (word.empty() ? "No command is given" : "There is no command " + word) + meant;
}

void TakeOption(CommandLine& line, int code, bool isValueApart) {
  const std::string typed = Typed(code);
  const std::string value = optarg == nullptr ? "" : optarg;
  // "-" and "-50,0,100,100" are values.
  if (isValueApart && value.size() > 1 && value[0] == '-' &&
      (value[1] == '-' || std::isalpha(static_cast<unsigned char>(value[1])) != 0)) {
    --optind;  // It is an option instead.
    return line.SetFault(typed + " lacks its value");
  }
  // An empty value is mostly an unset variable of a script, never what was meant.
  const Option& option = OptionOf(code);
  if (value.empty() && !option.value.empty()) {
    line.SetFault(typed + " has an empty value" +
                  (typed == "--rect" ? ", as of slop and slurp when they are cancelled" : ""));
  }
  line.Add(option, typed, value);
}

void TakeWord(CommandLine& line, const std::string& word) {
  if (line.command == &kProgram) {
    const auto found = std::ranges::find(Commands(), word, &CommandEntry::name);
    if (found == Commands().end()) return line.SetFault(DescribeNoCommand(line, word));
    line.command = &*found;
    return;
  }
  const std::vector<const Option*> options = OptionsOf(*line.command);
  const auto file = std::ranges::find_if(options, &Option::IsFile);
  if (file == options.end() || line.Find(kFile) != nullptr) {
    return line.SetFault(word + " is one argument too many");
  }
  if (word.empty()) line.SetFault("The file name has an empty value");
  line.Add(**file, word, word);
}

CommandLine SplitLine(int argc, const char* const* argv) {
  // The signs ask for other words in the user's order, and for ':' when a value is missing.
  std::string letters = "-:";
  std::vector<option> longs;
  for (const Option& each : Options()) {
    if (each.IsFile()) continue;
    const int hasValue = each.value.empty() ? no_argument : required_argument;
    // All entries of one name have the code of the first.
    const auto place = std::ranges::find(Options(), each.name, &Option::name) - Options().begin();
    longs.push_back({&each.name[2], hasValue, nullptr, kFirstLong + static_cast<int>(place)});
    if (each.letter != 0) letters += each.letter + std::string(each.value.empty() ? "" : ":");
  }
  longs.push_back({});
  CommandLine line;
  optind = 0;  // from the beginning
  for (;;) {
    optarg = nullptr;
    // It changes no word when it keeps their order.
    const int code =
        getopt_long(argc, const_cast<char* const*>(argv), letters.c_str(), longs.data(), nullptr);
    if (code == -1) break;
    const char* const word = argv[optind - 1];
    if (code == 1) {
      TakeWord(line, word);
    } else if (code == ':') {
      line.unfinished = &OptionOf(optopt);
      line.SetFault(Typed(optopt) + " lacks its value");
    } else if (code != '?') {
      TakeOption(line, code, optarg == word);
    } else if (optopt >= kFirstLong) {
      line.SetFault(Typed(optopt) + " takes no value");
    } else {
      line.SetFault(DescribeNoOption(
          *line.command, optopt == 0 ? std::string(word, strcspn(word, "=")) : Typed(optopt)));
    }
  }
  while (optind < argc) TakeWord(line, argv[optind++]);  // behind "--"
  if (line.command == &kProgram) line.SetFault(DescribeNoCommand(line, ""));
  return line;
}

[[noreturn]] void Fail(const CommandLine& line, const std::string& fault) {
  throw Failure(kWrongUsage, fault + (fault.ends_with('?') ? "" : ".") + " Try `" +
                                 line.command->Call() + " --help`.");
}

void RequireRules(const CommandLine& line) {
  const std::vector<const Option*> options = OptionsOf(*line.command);
  for (const GivenOption& each : line.given) {
    if (std::ranges::count(options, each.option->name, &Option::name) > 0) continue;
    Fail(line, DescribeNoOption(*line.command, each.typed));
  }
  for (const Option* option : options) {
    const auto& [isRequired, excludes, needs] = option->rules;
    const GivenOption* given = line.Find(option->name);
    if (given == nullptr && isRequired) Fail(line, option->name + " is required");
    if (given == nullptr) continue;
    if (const GivenOption* other = line.Find(excludes); other != nullptr) {
      Fail(line, std::min(given, other)->typed + " and " + std::max(given, other)->typed +
                     " can't be used together");
    }
    if (*needs != '\0' && line.Find(needs) == nullptr) {
      Fail(line, given->typed + " has no effect without " + needs);
    }
  }
}

void ReadValues(const CommandLine& line, Arguments& arguments) {
  for (const GivenOption& each : line.given) {
    const std::string expected = each.option->read(each.value, arguments);
    if (expected.empty()) continue;
    const Words choices = each.option->choices == nullptr ? Words() : each.option->choices();
    Fail(line, each.Text() + " is not " + expected + DidYouMean(each.value, choices));
  }
}

// The format of the file's name, PNG unless that has one.
const ImageFormat* FormatOf(const CommandLine& line, const GivenOption* file) {
  if (file == nullptr) return &kPng;
  std::string extension = std::filesystem::path(file->value).extension();
  if (extension.empty()) return &kPng;
  extension.erase(0, 1);
  if (const ImageFormat* const found = FindImageFormat(extension)) return found;
  // Image formats that are not written, some of them by this build only.
  for (const char* const other :
       {"avif", "bmp", "gif", "jpeg", "jpg", "jxl", "tif", "tiff", "webp", "xwd"}) {
    if (strcasecmp(extension.c_str(), other) != 0) continue;
    Fail(line, file->Text() + ": this qrvshot writes " + JoinWords(ImageFormatNames(), " and ") +
                   ", not " + other + "; name the file so, or choose with --format");
  }
  return &kPng;
}

// The file's name and format. A file on its own overrules the --output of an alias or a script
// before it; with --output behind it the user has named two files.
void ChooseOutput(const CommandLine& line, Arguments& arguments) {
  const GivenOption* option = line.Find("--output");
  const GivenOption* file = arguments.command == Capture ? line.Find(kFile) : nullptr;
  if (file != nullptr && option > file) {
    Fail(line, file->typed + " and " + option->Text() + " both name the file");
  }
  if (file == nullptr) file = option;
  if (arguments.count && arguments.output == "-") {
    Fail(line, file->typed + " can't be standard output with --count");
  }
  if (arguments.command == WriteRaw && file == nullptr) arguments.output = "screenshot.raw";
  if (arguments.command == WriteRaw) return;
  const ImageFormat*& format = arguments.encoding.format;
  if (line.Find("--format") == nullptr) format = FormatOf(line, file);
  for (const auto& [name, isOfFormat] :
       {std::pair("--quality", format->hasQuality), {"--compression", format->hasCompression}}) {
    const GivenOption* given = line.Find(name);
    if (given == nullptr || isOfFormat) continue;
    Fail(line, given->typed + " has no effect on " + format->name + " files");
  }
}

// What may stand at the end of the line in place of its last word.
Words Candidates(int argc, const char* const* argv) {
  const CommandLine line = SplitLine(argc - 1, argv);
  const Option* const option = line.unfinished;
  if (option != nullptr && option->choices != nullptr) return option->choices();
  if (option != nullptr) return option->value == kFile ? Words{kFile} : Words();
  if (*argv[argc - 1] == '-') return OptionNames(*line.command);
  if (line.command == &kProgram) return CommandNames();
  const bool hasFile = std::ranges::any_of(OptionsOf(*line.command), &Option::IsFile);
  return hasFile ? Words{kFile} : Words();
}

}  // namespace

std::optional<Arguments> ParseArguments(int argc, const char* const* argv) {
  if (argc > 2 && argv[1] == kComplete) {
    for (const std::string& each : Candidates(argc - 1, argv + 1)) PrintLine(stdout, each);
    return std::nullopt;
  }
  const CommandLine line = SplitLine(argc, argv);
  const bool isHelp = line.Find("--help") != nullptr;
  if (isHelp || line.Find("--version") != nullptr) {
    fputs(isHelp ? Help(*line.command).c_str() : "qrvshot " QRV_VERSION "\n" QRV_PARTS "\n",
          stdout);
    return std::nullopt;
  }
  if (!line.fault.empty()) Fail(line, line.fault);
  RequireRules(line);
  Arguments arguments;
  arguments.command = line.command->command;
  ReadValues(line, arguments);
  ChooseOutput(line, arguments);
  if (arguments.strategy != nullptr) arguments.systemVersion = arguments.strategy->systemVersion;
  if (arguments.quiet) BeQuiet();
  return arguments;
}

}  // namespace qrv::cli
