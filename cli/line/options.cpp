#include "cli/line/options.h"

#include <strings.h>

#include "cli/capture/desktop_choice.h"
#include "cli/capture/window_choice.h"
#include "cli/failure.h"
#include "cli/line/word_lists.h"

namespace qrv::cli {

namespace {

using Text = std::string;
using Words = std::vector<Text>;
using runtime::HostOptions;

struct Application {
  const char* name;
  runtime::ApplicationKind kind;
};

constexpr Application kApplications[] = {{"desktop", runtime::ApplicationKind::kDesktop},
                                         {"console", runtime::ApplicationKind::kConsole},
                                         {"web", runtime::ApplicationKind::kWeb}};

// What arguments keep of an entry of a table.
runtime::ApplicationKind ValueOf(const Application& application) { return application.kind; }
const Strategy* ValueOf(const Strategy& strategy) { return &strategy; }

// What the members lead to, each from the one before it.
template <auto... kMembers>
auto& Field(Arguments& arguments) {
  return (arguments.*....*kMembers);
}

template <auto... kMembers>
Text Flag(const Text& /*value*/, Arguments& arguments) {
  Field<kMembers...>(arguments) = true;
  return "";
}

template <auto kRead, auto... kMembers>
Text Value(const Text& value, Arguments& arguments) {
  return kRead(value, Field<kMembers...>(arguments));
}

template <int32_t kLeast, int32_t kMost, auto... kMembers>
Text Integer(const Text& value, Arguments& arguments) {
  const std::optional<int32_t> number = ParseInteger(value);
  if (!number || *number < kLeast || *number > kMost) {
    return "a whole number from " + std::to_string(kLeast) + " to " + std::to_string(kMost);
  }
  Field<kMembers...>(arguments) = *number;
  return "";
}

template <const auto& kTable>
Words NamesOf() {
  Words names;
  for (const auto& each : kTable) names.emplace_back(each.name);
  return names;
}

// The entry of the table with that name.
template <const auto& kTable, auto... kMembers>
Text Name(const Text& value, Arguments& arguments) {
  for (const auto& each : kTable) {
    if (strcasecmp(value.c_str(), std::string(each.name).c_str()) != 0) continue;
    Field<kMembers...>(arguments) = ValueOf(each);
    return "";
  }
  return JoinWords(NamesOf<kTable>(), " or ");
}

Text ReadFormat(const Text& value, const ImageFormat*& format) {
  format = FindImageFormat(value);
  return format == nullptr ? JoinWords(ImageFormatNames(), " or ") : "";
}

Words DesktopKinds() { return {"wayland", "portal", "x11", "virtual"}; }

// "main", and the index and name of each display.
Words DisplayChoices() {
  Words choices = {"main"};
  try {
    for (const QRVDisplay& each : RequireDisplays()) {
      choices.push_back(std::to_string(choices.size() / 2));
      choices.push_back(each.name);
    }
  } catch (const Failure&) {
    // Without a desktop there is no more to choose from.
  }
  return choices;
}

// "active", and the title of each window.
Words WindowChoices() {
  Words choices = {"active"};
  try {
    for (const QRVWindow& each : RequireWindows()) choices.emplace_back(each.title);
  } catch (const Failure&) {
    // As for displays.
  }
  return choices;
}

// Commands, as bits.
constexpr unsigned kCapture = 1;
constexpr unsigned kDisplays = 2;
constexpr unsigned kRaw = 4;
constexpr unsigned kFromRaw = 8;
constexpr unsigned kMethods = 16;
constexpr unsigned kWindows = 32;
constexpr unsigned kEveryCommand = ~0U;

constexpr Rules kNoRules;
constexpr Rules kRequired = {.isRequired = true};
constexpr Rules Excludes(const char* name) { return {.excludes = name}; }
constexpr Rules Needs(const char* name) { return {.needs = name}; }

constexpr char kWhat[] = "What is captured";
constexpr char kPixels[] = "The pixels";
constexpr char kWhen[] = "When";
constexpr char kWhere[] = "Where it goes";

constexpr CommandEntry kCommands[] = {
    {"capture", "Capture the desktop or a part of it into an image file", kCapture, Capture,
     "  qrvshot capture -g 100,50,640,480     left, top, width and height\n"
     "  qrvshot capture -s -d 3 --copy        marked now, in 3 s, to the clipboard\n"
     "  qrvshot capture --count 5 --interval 200ms a-%03d.jpg  a-001.jpg to a-005.jpg\n",
     "Names may have date's %Y-%m-%d and a number, %03d; `man qrvshot` says more."},
    {"displays", "List the displays", kDisplays, ShowDisplays,
     "  qrvshot displays\n  qrvshot displays --json\n",
     "Places are in the desktop's own coordinates, as --rect takes them. The JSON also has them "
     "relative to the main display, as the plug-in's methods count (fromMainX, fromMainY)."},
    {"windows", "List the windows", kWindows, ShowWindows,
     "  qrvshot windows\n  qrvshot windows --json\n",
     "The top one comes first. Places are in the desktop's own coordinates, with the window's "
     "frame and without its shadow. X11 lists windows, and so do sway and its kin; other Wayland "
     "compositors list them to no program."},
    {"raw", "Write a display's raw pixels, and print their width, height and bytes per row", kRaw,
     WriteRaw, "  qrvshot raw -o pixels\n",
     "The pixels are blue, green, red and a byte without meaning; the bottom row comes first."},
    {"from-raw", "Turn raw pixels into an image file", kFromRaw, ConvertRaw,
     "  qrvshot from-raw --width 1440 --height 900 --row-bytes 5760 pixels -o shot.png\n", ""},
    {"methods", "List the methods that the plug-in offers", kMethods, ShowMethods,
     "  qrvshot methods\n", ""},
};

std::vector<Option> MakeOptions() {
  return {
      {kWhere, kCapture, 0, kFile, kFile, "", Value<ReadText, &Arguments::output>},
      {kPixels, kFromRaw, 0, kFile, kFile, "The raw pixels; - is standard input",
       Value<ReadText, &Arguments::input>, kRequired},
      {kWhat, kCapture, 'g', "--rect", "AREA",
       "X,Y,W,H or WxH+X+Y or \"X,Y WxH\", in the desktop's units",
       Value<ReadRect, &Arguments::rect>, Excludes("--select --display --window")},
      {kWhat, kCapture, 's', "--select", "",
       "Mark it with the mouse, by slop on X11, slurp on Wayland", Flag<&Arguments::selects>,
       Excludes("--display --window")},
      {kWhat, kCapture, 0, "--display", "N", "Index or name as in `qrvshot displays`, or main",
       Value<ReadText, &Arguments::display>, Excludes("--window"), DisplayChoices},
      {kWhat, kRaw, 0, "--display", "N", "Index or name as in `qrvshot displays` (default: main)",
       Value<ReadText, &Arguments::display>, kNoRules, DisplayChoices},
      {kWhat, kCapture, 0, "--window", "WINDOW", "active, or id or title as in `qrvshot windows`",
       Value<ReadText, &Arguments::window>, kNoRules, WindowChoices},
      {kWhat, kCapture, 0, "--no-frame", "", "Without the window's title bar and borders",
       Flag<&Arguments::withoutFrame>, Needs("--window")},
      {kWhat, kCapture, 'p', "--pointer", "", "With the mouse pointer",
       Flag<&Arguments::withPointer>},
      {kWhat, kCapture | kDisplays | kWindows | kRaw, 0, "--desktop", "WHICH",
       "wayland, portal, x11 or virtual; or such as x11::1",
       Value<ReadDesktop, &Arguments::desktop>, kNoRules, DesktopKinds},
      {kWhat, kCapture, 0, "--units", "", "One pixel per unit, of denser displays too",
       Flag<&Arguments::inUnits>},
      {kWhat, kCapture, 0, "--size", "WxH",
       "Scale to this size; 800x and x600 keep the proportions", Value<ReadSize, &Arguments::size>,
       Excludes("--scale")},
      {kWhat, kCapture, 0, "--scale", "N%", "Scale to this part of the size, such as 25%",
       Value<ReadPercent, &Arguments::percent>},
      {kPixels, kFromRaw, 0, "--width", "N", "Pixels per row",
       Integer<1, kMaxPictureSide, &Arguments::width>, kRequired},
      {kPixels, kFromRaw, 0, "--height", "N", "Rows",
       Integer<1, kMaxPictureSide, &Arguments::height>, kRequired},
      {kPixels, kFromRaw, 0, "--row-bytes", "N", "Bytes from one row to the next",
       Integer<1, INT32_MAX, &Arguments::rowBytes>, kRequired},
      {kWhen, kCapture, 'd', "--delay", "TIME", "Wait first: seconds, or such as 500ms, 2m",
       Value<ReadTime, &Arguments::delay>},
      {kWhen, kCapture, 0, "--count", "N", "So many captures; 0 or forever: until you stop it",
       Value<ReadCount, &Arguments::count>},
      {kWhen, kCapture, 0, "--interval", "TIME", "From one capture to the next (default: 1 second)",
       Value<ReadTime, &Arguments::interval>, Needs("--count")},
      {kWhere, kCapture | kFromRaw, 'o', "--output", "FILE",
       "File, folder, or - for standard output", Value<ReadText, &Arguments::output>},
      {kWhere, kRaw, 'o', "--output", "FILE",
       "The file; - is standard output (default: screenshot.raw)",
       Value<ReadText, &Arguments::output>},
      {kWhere, kCapture | kFromRaw, 0, "--no-clobber", "",
       "Replace no file: take the next free name, as a-2.png", Flag<&Arguments::keepsFiles>},
      {kWhere, kCapture | kRaw | kFromRaw, 0, "--mkdir", "",
       "Make the folder of the file if need be", Flag<&Arguments::makesFolders>},
      {kWhere, kCapture, 0, "--copy", "", "To the clipboard as PNG; to a file only if one is named",
       Flag<&Arguments::copies>},
      {kWhere, kCapture | kFromRaw, 0, "--format", "NAME",
       JoinWords(ImageFormatNames(), " or ") + " (default: by the name)",
       Value<ReadFormat, &Arguments::encoding, &Encoding::format>, kNoRules, ImageFormatNames},
      {kWhere, kCapture | kFromRaw, 0, "--quality", "1-100",
       "Of JPEG (default: 90), or WebP with losses",
       Integer<1, 100, &Arguments::encoding, &Encoding::quality>, Excludes("--compression")},
      {kWhere, kCapture | kFromRaw, 0, "--compression", "0-9",
       "Of PNG and lossless WebP: 0 fastest, 9 smallest",
       Integer<0, 9, &Arguments::encoding, &Encoding::compression>},
      {kWhere, kCapture | kDisplays | kWindows | kRaw, 0, "--json", "", "Report in JSON",
       Flag<&Arguments::json>, Excludes("--quiet")},
      {kWhere, kCapture | kRaw | kFromRaw, 'q', "--quiet", "", "Report only failures",
       Flag<&Arguments::quiet>},
      {kTesting, kEveryCommand, 0, "--plugin", "FILE",
       "The plug-in to load (default: beside this program, then the installed one)",
       Value<ReadText, &Arguments::plugin>},
      {kTesting, kEveryCommand, 0, "--app", "KIND",
       "The kind of host program: desktop (default), console or web",
       Name<kApplications, &Arguments::host, &HostOptions::application>, kNoRules,
       NamesOf<kApplications>},
      {kTesting, kEveryCommand, 0, "--host-version", "X",
       "The host's version, such as 2011.04 (default: 2013.03), or none for one that states none",
       Value<ReadHostVersion, &Arguments::host, &HostOptions::version>},
      {kTesting, kCapture | kFromRaw, 0, "--alpha", "",
       "Pictures of a desktop program have an alpha channel",
       Flag<&Arguments::host, &HostOptions::picturesHaveAlpha>},
      {kTesting, kEveryCommand, 0, "--system-version", "M.N",
       "The generation of the system, such as 10.6 (default: $QRV_SYSTEM_VERSION, else 10.7)",
       Value<ReadSystemVersion, &Arguments::systemVersion>},
      {kTesting, kCapture, 0, "--strategy", "HOW",
       "Capture in this way or not at all: display-image, opengl or quickdraw",
       Name<kStrategies, &Arguments::strategy>, Excludes("--system-version"), NamesOf<kStrategies>},
      {kProgramOptions, kEveryCommand, 'h', "--help", "", "Help on the command", nullptr},
      {kProgramOptions, kEveryCommand, 0, "--help-testing", "",
       "Its options for people who test the plug-in", nullptr},
      {kProgramOptions, kEveryCommand, 'V', "--version", "", "The version", nullptr},
  };
}

}  // namespace

const CommandEntry kProgram = {
    "",
    "Captures the screen into an image file",
    kEveryCommand,
    nullptr,
    "  qrvshot                      the whole desktop, to screenshot-DATE-TIME.png\n"
    "  qrvshot shot.jpg             to this file: PNG, JPEG, WebP or PPM by its name\n"
    "  qrvshot -s                   what you mark with the mouse\n"
    "  qrvshot -g 100,50,640,480    left, top, width and height\n"
    "  qrvshot --window active      the window that has the keyboard\n"
    "  qrvshot --display 1          the second display; `qrvshot displays` lists them\n"
    "  qrvshot -d 3 --copy          in three seconds, to the clipboard\n"
    "  qrvshot -o - | base64        to another program\n",
    "`qrvshot help capture` has all options of a capture, `man qrvshot` everything.\n"
    "Exit status: 0 done, 1 nothing captured, 2 wrong usage, 3 a file could not be read, written "
    "or loaded."};

std::span<const CommandEntry> Commands() { return kCommands; }

const std::vector<Option>& Options() {
  static const std::vector<Option> options = MakeOptions();
  return options;
}

std::vector<const Option*> OptionsOf(const CommandEntry& command) {
  std::vector<const Option*> found;
  for (const Option& each : Options()) {
    if ((each.commands & command.bit) == command.bit) found.push_back(&each);
  }
  return found;
}

}  // namespace qrv::cli
