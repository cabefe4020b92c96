#include "cli/line/command_line.h"

#include <getopt.h>
#include <string.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include "cli/capture/desktop_choice.h"
#include "cli/capture/file_names.h"
#include "cli/failure.h"
#include "cli/line/habits.h"
#include "cli/line/help.h"
#include "cli/line/options.h"
#include "cli/line/word_lists.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

using Words = std::vector<std::string>;

constexpr std::string_view kComplete = "--complete";
constexpr char kHelp[] = "help";  // in place of a command, asks for the help of the next word
constexpr int kFirstLong = 256;   // the codes of long options to getopt_long, beyond all letters

// What to say of a number without its option, as other programs' -q and -s take one.
constexpr char kNumbers[] = "; numbers are for -d 3, -g 0,0,50,50, --scale 50% or --quality 90";

struct GivenOption {
  const Option* option;
  std::string typed;  // "-o", "--output", or the file's name
  std::string value;

  // "-o a.png"
  std::string Text() const { return typed == value ? typed : typed + " " + value; }
};

// What the user typed, as options and files.
struct CommandLine {
  const CommandEntry* command = &kProgram;  // until one is named
  bool isHelpCommand = false;               // "qrvshot help ..."
  bool lacksCommand = false;                // an unknown one is named
  std::vector<GivenOption> given;           // in the user's order; of one given twice, the last
  const Option* unfinished = nullptr;       // the last one, when the line ends before its value
  std::string fault;                        // the first; empty when there is none

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

// Without a command's name it is a capture.
const CommandEntry& Meant(const CommandLine& line) {
  return line.command == &kProgram ? Commands().front() : *line.command;
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
  const std::string_view advice =
      command.command == Capture ? AdviceForHabit(name) : std::string_view();
  return command.Call() + " has no option " + name +
         (advice.empty() ? DidYouMean(name, OptionNames(command)) : ": " + std::string(advice));
}

bool IsNumber(const std::string& word) {
  return !word.empty() && std::isdigit(static_cast<unsigned char>(word[0])) != 0;
}

// Whether a word in place of a command is rather the file of a capture.
bool IsFileName(const std::string& word) {
  std::error_code error;
  return word.empty() || word == "-" || word.find_first_of("./%~") != std::string::npos ||
         std::filesystem::exists(word, error);
}

std::string DescribeNoCommand(const CommandLine& line, const std::string& word) {
  const std::string meant = IsNumber(word) ? kNumbers : DidYouMean(word, CommandNames());
  const std::string file = line.isHelpCommand ? "" : "; a file of that name is ./" + word;
  return "There is no command " + word +
         (meant.empty() ? file + "; there are " + JoinWords(CommandNames(), " and ") : meant);
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
    line.SetFault(
        typed + " has an empty value" +
        (option.name == "--rect" ? ", as of slop and slurp when they are cancelled" : ""));
  }
  line.Add(option, typed, value);
}

void TakeWord(CommandLine& line, const std::string& word) {
  if (line.command == &kProgram) {
    const auto found = std::ranges::find(Commands(), word, &CommandEntry::name);
    const bool isCommand = found != Commands().end();
    if (!isCommand && word == kHelp && !line.isHelpCommand) {
      line.isHelpCommand = true;
      return;
    }
    line.lacksCommand = !isCommand && (line.isHelpCommand || !IsFileName(word));
    if (line.lacksCommand) {
      line.lacksCommand = line.fault.empty();
      return line.SetFault(DescribeNoCommand(line, word));
    }
    line.command = isCommand ? &*found : &Meant(line);
    if (isCommand) return;
  }
  const std::vector<const Option*> options = OptionsOf(*line.command);
  const auto file = std::ranges::find_if(options, &Option::IsFile);
  if (file == options.end() || line.Find(kFile) != nullptr) {
    const std::string first = file == options.end() ? "" : line.Find(kFile)->value;
    return line.SetFault(word + " is one argument too many" +
                         (first.empty() ? "" : " behind " + first) +
                         (IsNumber(first) ? kNumbers : ""));
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
          Meant(line), optopt == 0 ? std::string(word, strcspn(word, "=")) : Typed(optopt)));
    }
  }
  while (optind < argc) TakeWord(line, argv[optind++]);  // behind "--"
  return line;
}

[[noreturn]] void Fail(const CommandLine& line, const std::string& fault) {
  const CommandEntry& command = line.lacksCommand ? kProgram : Meant(line);
  throw Failure(kWrongUsage, fault + (fault.ends_with('?') ? "" : ".") + " Try `" + command.Call() +
                                 " --help`.");
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
    std::istringstream others(excludes);
    for (std::string name; others >> name;) {
      const GivenOption* const other = line.Find(name);
      if (other == nullptr) continue;
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
const ImageFormat* RequireFormat(const CommandLine& line, const GivenOption* file) {
  if (file == nullptr) return &kPng;
  if (const ImageFormat* const format = FormatOfName(file->value)) return format;
  const std::string extension = std::filesystem::path(file->value).extension();
  // Files of other kinds, and image formats that this build doesn't write.
  for (const char* const other :
       {"avif", "bmp", "gif", "heic", "html", "ico", "jp2",  "jpeg", "jpg", "jxl", "mkv", "mp4",
        "pdf",  "qoi", "svg", "tif",  "tiff", "txt", "webm", "webp", "xcf", "xwd", "zip"}) {
    if (strcasecmp(extension.c_str(), (std::string(".") + other).c_str()) != 0) continue;
    Fail(line, file->Text() + ": this qrvshot writes " + JoinWords(ImageFormatNames(), " and ") +
                   ", not " + other + "; name the file so, or choose with --format");
  }
  return &kPng;
}

// An option that shows in no file of that format, or not in the clipboard.
void RequireEffect(const CommandLine& line, const Arguments& arguments, bool hasFile) {
  const ImageFormat& format = *arguments.encoding.format;
  for (const auto& [name, isOfFormat] : {std::pair("--quality", format.hasQuality),
                                         {"--compression", format.hasCompression},
                                         {"--format", true}}) {
    const GivenOption* const given = line.Find(name);
    if (given == nullptr) continue;
    if (!isOfFormat) Fail(line, given->typed + " has no effect on " + format.name + " files");
    if (arguments.copies && !hasFile &&
        (name != std::string_view("--format") || &format != &kPng)) {
      Fail(line,
           given->Text() + " has no effect on the clipboard, which gets a PNG; name a file too");
    }
  }
}

// The file's name and format. A file on its own overrules the --output of an alias or a script
// before it; with --output behind it the user has named two files.
void ChooseOutput(const CommandLine& line, Arguments& arguments) {
  const GivenOption* option = line.Find("--output");
  const GivenOption* file = arguments.command == Capture ? line.Find(kFile) : nullptr;
  if (file != nullptr && option > file) {
    Fail(line, file->typed + " and " + option->Text() + " both name the file");
  }
  if (file != nullptr && option != nullptr) arguments.overruled = option->value;
  if (file == nullptr) file = option;
  if (arguments.output == "~" || arguments.output.starts_with("~/")) {
    Fail(line, file->Text() + ": the shell has left the ~ as it is; write $HOME" +
                   arguments.output.substr(1));
  }
  if (arguments.command == WriteRaw && file == nullptr) arguments.output = "screenshot.raw";
  if (arguments.command == WriteRaw) return;
  if (line.Find("--format") == nullptr) arguments.encoding.format = RequireFormat(line, file);
  RequireEffect(line, arguments, file != nullptr);
}

// An option's values, each with what stands before it in the word. The displays are those of the
// desktop that the line chooses.
Words ValuesOf(const CommandLine& line, const Option& option, const std::string& before) {
  if (option.choices == nullptr) return option.value == kFile ? Words{kFile} : Words();
  Arguments arguments;
  if (const GivenOption* const desktop = line.Find("--desktop")) arguments.desktop = desktop->value;
  ChooseDesktop(arguments);
  Words values = option.choices();
  for (std::string& each : values) each = std::string(before).append(Printable(each));
  return values;
}

// What may stand at the end of the line in place of its last word, with an explanation behind a
// tab where there is one.
Words Candidates(int argc, const char* const* argv) {
  const CommandLine line = SplitLine(argc - 1, argv);
  const std::string last = argv[argc - 1];
  const std::vector<const Option*> options = OptionsOf(Meant(line));
  if (line.unfinished != nullptr) return ValuesOf(line, *line.unfinished, "");
  Words words;
  if (last.starts_with('-')) {
    const size_t length = last.find('=');
    for (const Option* each : options) {
      if (each->name == last.substr(0, length) && length != std::string::npos) {
        return ValuesOf(line, *each, last.substr(0, length + 1));
      }
      const std::string text = each->text.empty() ? "" : "\t" + each->text;
      if (each->letter != 0) words.push_back(std::string("-") + each->letter + text);
      if (!each->IsFile()) words.push_back(each->name + text);
    }
    return words;
  }
  if (line.command == &kProgram) {
    for (const CommandEntry& each : Commands()) {
      words.push_back(std::string(each.name) + "\t" + each.summary);
    }
    words.push_back(std::string(kHelp) + "\tHelp on a command");
  }
  if (!line.isHelpCommand && std::ranges::any_of(options, &Option::IsFile)) words.push_back(kFile);
  return words;
}

// Whether the line asks for a page instead of work, which is printed then.
bool PrintPage(const CommandLine& line) {
  if (line.lacksCommand) Fail(line, line.fault);
  std::string page;
  if (line.Find("--version") != nullptr) page = "qrvshot " QRV_VERSION "\n" QRV_PARTS "\n";
  if (line.isHelpCommand || line.Find("--help") != nullptr) page = Help(*line.command);
  if (line.Find("--help-testing") != nullptr) page = TestingHelp(Meant(line));
  fputs(page.c_str(), stdout);
  return !page.empty();
}

}  // namespace

std::optional<Arguments> ParseArguments(int argc, const char* const* argv) {
  if (argc > 2 && argv[1] == kComplete) {
    for (const std::string& each : Candidates(argc - 1, argv + 1)) puts(each.c_str());
    return std::nullopt;
  }
  CommandLine line = SplitLine(argc, argv);
  if (PrintPage(line)) return std::nullopt;
  line.command = &Meant(line);
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
