#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <stdexcept>
#include <string>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

using runtime::ApplicationKind;

constexpr char kProgram[] = "qrvshot";
constexpr char kVersion[] = QRV_VERSION;
constexpr char kDefaultImage[] = "screenshot.png";
constexpr char kDefaultRaw[] = "screenshot.raw";
constexpr char kExitCodes[] =
    "Exit status: 0 done, 1 nothing captured, 2 wrong usage, 3 a file could not be read, written "
    "or loaded.";

// What is wrong with the command line.
class UsageFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Values as they stand on the command line, to be turned into Arguments.
struct Words {
  std::string application = "desktop";
  std::string hostVersion;
  std::string display;
  std::string rect;
  std::string size;
  std::string strategy;
  std::string format;
  std::string width;
  std::string height;
  std::string rowBytes;
};

const std::map<std::string, ApplicationKind> kApplications = {
    {"desktop", ApplicationKind::kDesktop},
    {"console", ApplicationKind::kConsole},
    {"web", ApplicationKind::kWeb},
};

// Help states the choices in the option's own words.
CLI::Validator OneOf(const std::vector<std::string>& choices) {
  return CLI::IsMember(choices).description("");
}

void AddCommonOptions(CLI::App& app, Arguments& arguments, Words& words) {
  app.add_option("--plugin", arguments.plugin,
                 "The plug-in to load (default: beside this program, then the installed one)")
      ->type_name("PATH");
  app.add_option("--app", words.application, "The kind of host program: desktop, console or web")
      ->check(OneOf({"desktop", "console", "web"}))
      ->type_name("KIND");
  app.add_option(
         "--host-version", words.hostVersion,
         "The host's version, such as 2011.04 (default: 2013.03); none for a host that states none")
      ->type_name("X");
  app.add_flag("--alpha", arguments.host.picturesHaveAlpha,
               "Pictures of a desktop program have an alpha channel");
  app.add_option(
         "--desktop", arguments.desktop,
         runtime::DesktopChoices() + " (default: $QRV_DESKTOP, else x11 when DISPLAY is set)")
      ->type_name("WHICH");
  app.add_option("--system-version", arguments.systemVersion,
                 "The generation of the system, such as 10.6 (default: $QRV_SYSTEM_VERSION, else "
                 "10.7)")
      ->type_name("M.N");
}

void AddImageOptions(CLI::App& command, Arguments& arguments, Words& words) {
  command
      .add_option("-o,--output", arguments.output,
                  "The image file; - is standard output (default: screenshot.png)")
      ->type_name("FILE");
  command
      .add_option("--format", words.format,
                  "png or ppm (default: ppm for a file named .ppm, else png)")
      ->check(OneOf({"png", "ppm"}))
      ->type_name("FORMAT");
  command
      .add_option("--compression", arguments.compression,
                  "PNG: 0 none ... 9 smallest file (default: what suits screenshots)")
      ->check(CLI::Range(0, 9).description(""))
      ->type_name("0-9");
}

CLI::Option* AddDisplayOption(CLI::App& command, Words& words) {
  return command
      .add_option("--display", words.display, "The display's index, as in `qrvshot displays`")
      ->type_name("N");
}

CLI::App* AddCapture(CLI::App& app, Arguments& arguments, Words& words) {
  CLI::App* command = app.add_subcommand("capture", "Capture the screen into an image file");
  CLI::Option* display = AddDisplayOption(*command, words);
  CLI::Option* rect = command
                          ->add_option("--rect", words.rect,
                                       "A rectangle of the desktop instead of a display, in units: "
                                       "left,top,width,height")
                          ->excludes(display)
                          ->type_name("L,T,W,H");
  command->add_option("--size", words.size, "Scale the rectangle to this size")
      ->needs(rect)
      ->type_name("WxH");
  command
      ->add_flag("--units", arguments.inUnits,
                 "One pixel a unit, also of displays that have more pixels than units")
      ->needs(rect);
  command
      ->add_option("--strategy", words.strategy,
                   "Capture in this way or not at all: display-image, opengl or quickdraw")
      ->check(OneOf({"display-image", "opengl", "quickdraw"}))
      ->excludes(app.get_option("--system-version"))
      ->type_name("HOW");
  AddImageOptions(*command, arguments, words);
  return command;
}

CLI::App* AddDisplays(CLI::App& app, Arguments& arguments) {
  CLI::App* command = app.add_subcommand("displays", "List the displays");
  command->add_flag("--json", arguments.json, "As JSON");
  return command;
}

CLI::App* AddRaw(CLI::App& app, Arguments& arguments, Words& words) {
  CLI::App* command = app.add_subcommand(
      "raw", "Write a display's raw pixels, and print their width, height and bytes per row");
  AddDisplayOption(*command, words);
  command
      ->add_option("-o,--output", arguments.output,
                   "The file; - is standard output (default: screenshot.raw)")
      ->type_name("FILE");
  command->add_flag("--json", arguments.json, "Print the three numbers as JSON");
  return command;
}

CLI::App* AddFromRaw(CLI::App& app, Arguments& arguments, Words& words) {
  CLI::App* command = app.add_subcommand("from-raw", "Turn raw pixels into an image file");
  command->add_option("--width", words.width, "Pixels per row")->required()->type_name("N");
  command->add_option("--height", words.height, "Rows")->required()->type_name("N");
  command->add_option("--row-bytes", words.rowBytes, "Bytes from one row to the next")
      ->required()
      ->type_name("N");
  command->add_option("file", arguments.input, "The raw pixels; - is standard input")
      ->required()
      ->type_name("FILE");
  AddImageOptions(*command, arguments, words);
  return command;
}

[[noreturn]] void FailUsage(const std::string& message) { throw UsageFault(message); }

// `value` unless it is nothing, which is a fault of the option's text.
template <typename Value>
Value Require(const std::optional<Value>& value, const std::string& option, const std::string& text,
              const char* expected) {
  if (!value) FailUsage(option + " " + text + " is not " + expected);
  return *value;
}

int32_t RequireInteger(const std::string& option, const std::string& text) {
  return Require(ParseInteger(text), option, text, "a 32-bit integer");
}

void InterpretHost(Arguments& arguments, const Words& words) {
  arguments.host.application = kApplications.at(words.application);
  if (words.hostVersion == "none") {
    arguments.host.version.reset();
  } else if (!words.hostVersion.empty()) {
    arguments.host.version = Require(ParseHostVersion(words.hostVersion), "--host-version",
                                     words.hostVersion, "a version such as 2013.03, nor none");
  }
  if (!arguments.systemVersion.empty() && !IsSystemVersion(arguments.systemVersion)) {
    FailUsage("--system-version " + arguments.systemVersion + " is not a version such as 10.6");
  }
}

void InterpretCapture(Arguments& arguments, const Words& words) {
  if (!words.display.empty()) arguments.display = RequireInteger("--display", words.display);
  if (!words.rect.empty()) {
    arguments.rect = Require(ParseRect(words.rect), "--rect", words.rect,
                             "four 32-bit integers: left,top,width,height");
  }
  if (!words.size.empty()) {
    arguments.size =
        Require(ParseSize(words.size), "--size", words.size, "two 32-bit integers: widthxheight");
  }
  for (const Strategy& strategy : kStrategies) {
    if (strategy.name == words.strategy) {
      arguments.strategy = &strategy;
      arguments.systemVersion = strategy.systemVersion;
    }
  }
}

// The file name's extension in small letters, with its dot; empty when it has none.
std::string Extension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension();
  for (char& letter : extension) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return extension;
}

// The format that the file's name asks for: png unless it names another one.
ImageFormat FormatOfName(const std::string& path) {
  static const std::set<std::string> kOtherFormats = {".bmp",  ".gif", ".jpeg", ".jpg",  ".jxl",
                                                      ".avif", ".tif", ".tiff", ".webp", ".xwd"};
  const std::string extension = Extension(path);
  if (kOtherFormats.contains(extension)) {
    FailUsage("--output " + path + ": qrvshot writes png and ppm, not " + extension.substr(1) +
              "; name the file .png or .ppm, or choose with --format");
  }
  return extension == ".ppm" ? ImageFormat::kPpm : ImageFormat::kPng;
}

void InterpretOutput(Arguments& arguments, const Words& words) {
  if (arguments.output.empty()) {
    arguments.output = arguments.command == WriteRaw ? kDefaultRaw : kDefaultImage;
  }
  if (arguments.command != Capture && arguments.command != ConvertRaw) return;
  if (words.format.empty()) {
    arguments.format = FormatOfName(arguments.output);
  } else {
    arguments.format = words.format == "ppm" ? ImageFormat::kPpm : ImageFormat::kPng;
  }
}

void Interpret(Arguments& arguments, const Words& words) {
  InterpretHost(arguments, words);
  InterpretCapture(arguments, words);
  InterpretOutput(arguments, words);
  if (arguments.command == ConvertRaw) {
    arguments.width = RequireInteger("--width", words.width);
    arguments.height = RequireInteger("--height", words.height);
    arguments.rowBytes = RequireInteger("--row-bytes", words.rowBytes);
  }
}

// An empty value is mostly an unset variable of a script, never what was meant.
void RequireValues(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const std::vector<std::string>& values = option->results();
    if (std::find(values.begin(), values.end(), "") != values.end()) {
      FailUsage(option->get_name() + " has an empty value");
    }
  }
}

// Says of a command line that could not be parsed what is wrong with it.
std::string Describe(const CLI::App& app, const CLI::ParseError& error) {
  if (!app.get_subcommands().empty()) return error.what();
  constexpr char kCommands[] = "capture, displays, methods, raw and from-raw";
  const std::vector<std::string> words = app.remaining();
  if (words.empty()) return std::string("No command is given; there are ") + kCommands;
  if (words.front().starts_with('-')) {
    return "There is no option " + words.front() + " before the command";
  }
  return "There is no command " + words.front() + "; there are " + kCommands;
}

// False when only help or the version is asked for, which has then been printed.
bool Parse(CLI::App& app, int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) FailUsage(Describe(app, error));
    app.exit(error);
    return false;
  }
  RequireValues(app);
  RequireValues(*app.get_subcommands().front());
  return true;
}

// The command whose help has the options that were used.
std::string HelpCommand(const CLI::App& app) {
  const std::vector<CLI::App*> commands = app.get_subcommands();
  const std::string command = commands.empty() ? "" : " " + commands.front()->get_name();
  return kProgram + command + " --help";
}

}  // namespace

std::optional<Arguments> ParseArguments(int argc, const char* const* argv) {
  Arguments arguments;
  Words words;
  CLI::App app("Screenshots through the plug-in ScreenshotQRV", kProgram);
  app.set_version_flag("--version", kVersion);
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kExitCodes);
  AddCommonOptions(app, arguments, words);
  const std::map<const CLI::App*, Command> commands = {
      {AddCapture(app, arguments, words), Capture},
      {AddDisplays(app, arguments), ShowDisplays},
      {app.add_subcommand("methods", "List the methods that the plug-in offers"), ShowMethods},
      {AddRaw(app, arguments, words), WriteRaw},
      {AddFromRaw(app, arguments, words), ConvertRaw},
  };
  for (CLI::App* command : app.get_subcommands({})) {
    command->footer("Options of every command, such as --desktop: `qrvshot --help`.");
  }
  try {
    if (!Parse(app, argc, argv)) return std::nullopt;
    arguments.command = commands.at(app.get_subcommands().front());
    Interpret(arguments, words);
  } catch (const UsageFault& fault) {
    throw Failure(kWrongUsage, std::string(fault.what()) + ". Try `" + HelpCommand(app) + "`.");
  }
  return arguments;
}

}  // namespace qrv::cli
