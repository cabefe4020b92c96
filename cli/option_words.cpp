#include "cli/option_words.h"

namespace qrv::cli {

namespace {

using Options = std::vector<OptionText>;

constexpr char kWhat[] = "What is captured";
constexpr char kWhen[] = "When";
constexpr char kWhere[] = "Where it goes";
constexpr char kDesktop[] = "Which desktop";
constexpr char kHost[] = "The plug-in and its host, for people who test them";

Options ImageOptions() {
  return {
      {kWhere, "--format", "NAME", "png, jpg, webp or ppm (default: by the file's name, else png)",
       &OptionWords::format},
      {kWhere, "--quality", "1-100", "Of JPEG (default: 90), or WebP with losses",
       &OptionWords::quality},
      {kWhere, "--compression", "0-9",
       "Of PNG and lossless WebP: 0 fastest, 9 smallest (default: what suits screenshots)",
       &OptionWords::compression},
  };
}

Options CommonOptions() {
  return {
      {kDesktop, "--desktop", "WHICH",
       runtime::DesktopChoices() + " (default: $QRV_DESKTOP, else the one that is there)",
       &OptionWords::desktop},
      {kHost, "--plugin", "FILE",
       "The plug-in to load (default: beside this program, then the installed one)",
       &OptionWords::plugin},
      {kHost, "--app", "KIND", "The kind of host program: desktop (default), console or web",
       &OptionWords::application},
      {kHost, "--host-version", "X",
       "The host's version, such as 2011.04 (default: 2013.03), or none for one that states none",
       &OptionWords::hostVersion},
      {kHost, "--alpha", "", "Pictures of a desktop program have an alpha channel", nullptr,
       &OptionWords::alpha},
      {kHost, "--system-version", "M.N",
       "The generation of the system, such as 10.6 (default: $QRV_SYSTEM_VERSION, else 10.7)",
       &OptionWords::systemVersion},
  };
}

Options CaptureOptions() {
  return {
      {"", "FILE", "FILE", "The image file, like --output", &OptionWords::file},
      {kWhat, "--display", "N",
       "One display: its index, from 0, or its name, as `qrvshot displays` lists it; or main",
       &OptionWords::display},
      {kWhat, "--rect", "AREA",
       "A rectangle: X,Y,W,H or WxH+X+Y (as slop prints it) or \"X,Y WxH\" (as slurp does)",
       &OptionWords::rect},
      {kWhat, "--size", "WxH", "Scale to this size; 800x and x600 keep the proportions",
       &OptionWords::size},
      {kWhat, "--scale", "N%", "Scale to this part of the size, such as 25%", &OptionWords::scale},
      {kWhat, "--units", "", "One pixel a unit, also of displays that have more pixels than units",
       nullptr, &OptionWords::units},
      {kWhen, "--delay", "SECONDS", "Wait so long first; on a terminal it counts down",
       &OptionWords::delay},
      {kWhen, "--count", "N", "Capture so many times, into numbered files", &OptionWords::count},
      {kWhen, "--interval", "MS",
       "From one capture of --count to the next, in milliseconds (default: 1000)",
       &OptionWords::interval},
      {kWhere, "-o,--output", "FILE",
       "The image file, which is replaced; in a folder: a dated file; -: standard output (default: "
       "a dated file here)",
       &OptionWords::output},
      {kWhere, "--copy", "",
       "Copy to the clipboard as PNG, by wl-copy or xclip; into a file too only where one is named",
       nullptr, &OptionWords::copy},
      {kWhere, "--json", "", "Tell of each file in a line of JSON", nullptr, &OptionWords::json},
      {kWhere, "-q,--quiet", "", "Tell of failures alone", nullptr, &OptionWords::quiet},
  };
}

Options RawOptions() {
  return {
      {kWhat, "--display", "N",
       "Its index, from 0, or its name, as `qrvshot displays` lists it (default: main)",
       &OptionWords::display},
      {kWhere, "-o,--output", "FILE", "The file; - is standard output (default: screenshot.raw)",
       &OptionWords::output},
      {kWhere, "--json", "", "Print the three numbers as JSON", nullptr, &OptionWords::json},
      {kWhere, "-q,--quiet", "", "Print nothing", nullptr, &OptionWords::quiet},
  };
}

Options FromRawOptions() {
  const char* const numbers = "The pixels";
  return {
      {"", "FILE", "FILE", "The raw pixels; - is standard input", &OptionWords::input, nullptr,
       true},
      {numbers, "--width", "N", "Pixels per row", &OptionWords::width, nullptr, true},
      {numbers, "--height", "N", "Rows", &OptionWords::height, nullptr, true},
      {numbers, "--row-bytes", "N", "Bytes from one row to the next", &OptionWords::rowBytes,
       nullptr, true},
      {kWhere, "-o,--output", "FILE",
       "The image file, which is replaced; - is standard output (default: a dated file here)",
       &OptionWords::output},
      {kWhere, "-q,--quiet", "", "Tell of failures alone", nullptr, &OptionWords::quiet},
  };
}

Options operator+(Options options, const Options& more) {
  options.insert(options.end(), more.begin(), more.end());
  return options;
}

}  // namespace

const char kSummary[] = "Captures the screen into an image file.";

const char kExamples[] =
    "  qrvshot capture                   the whole desktop, to screenshot-DATE-TIME.png\n"
    "  qrvshot capture shot.jpg          to this file: PNG, JPEG, WebP or PPM by its name\n"
    "  qrvshot capture --display 1       the second display; `qrvshot displays` lists them\n"
    "  qrvshot capture --rect \"$(slop)\"  what you mark with the mouse\n"
    "  qrvshot capture --delay 3 --copy  in three seconds, to the clipboard\n";

const char kNotes[] =
    "`qrvshot COMMAND --help` explains a command's options, `man qrvshot` everything.\n"
    "Exit status: 0 done, 1 nothing captured, 2 wrong usage, 3 a file could not be read, written "
    "or loaded.";

const std::vector<CommandText>& Commands() {
  static const std::vector<CommandText> commands = {
      {"capture", "Capture the desktop or a part of it into an image file", Capture,
       CaptureOptions() + ImageOptions() + CommonOptions() +
           Options{{kHost, "--strategy", "HOW",
                    "Capture in this way or not at all: display-image, opengl or quickdraw",
                    &OptionWords::strategy}},
       "  qrvshot capture                           the whole desktop, all displays\n"
       "  qrvshot capture shot.png                  to this file\n"
       "  qrvshot capture -o pictures               to a dated file in the folder pictures\n"
       "  qrvshot capture --display main            the main display alone\n"
       "  qrvshot capture --rect 100,50,640,480     left, top, width and height\n"
       "  qrvshot capture --rect \"$(slop)\"          what you mark with the mouse\n"
       "  qrvshot capture --size 800x small.webp    scaled to a width of 800\n"
       "  qrvshot capture --delay 3 --copy          in three seconds, to the clipboard\n"
       "  qrvshot capture --count 5 --interval 200  five captures, 200 ms apart\n",
       "Coordinates are the desktop's own, in its units: what slop, slurp and xdotool print, and "
       "xwininfo as the upper-left corner, width and height (its -geometry may count letters), and "
       "`qrvshot displays` lists. For a window, `eval \"$(xdotool selectwindow getwindowgeometry "
       "--shell)\"` sets $X, $Y, $WIDTH and $HEIGHT. On X11 0,0 is the top-left corner of the "
       "screen that "
       "holds all displays, on the virtual desktop that of its main display. Negative ones work "
       "(--rect -50,0,100,100, 100x100+-50+0). What lies on no display is black.\n\n"
       "The desktop `virtual` is a built-in test card on two displays; --desktop virtual:LAYOUT "
       "gives it others, the main one first: size and position of each, such as "
       "1440x900+0+0,1280x1024-1280+0, with @8, @16 or @32 bits per pixel and *2 or *1.5 pixels a "
       "unit if need be."},
      {"displays", "List the displays", ShowDisplays,
       Options{{kWhere, "--json", "", "As JSON", nullptr, &OptionWords::json}} + CommonOptions(),
       "  qrvshot displays\n  qrvshot displays --json\n",
       "Places are in the desktop's own coordinates, as --rect takes them. The JSON also has them "
       "relative to the main display, as the plug-in's methods count (fromMainX, fromMainY)."},
      {"raw", "Write a display's raw pixels, and print their width, height and bytes per row",
       WriteRaw, RawOptions() + CommonOptions(), "  qrvshot raw -o pixels\n",
       "The pixels are blue, green, red and a byte without meaning; the bottom row comes first."},
      {"from-raw", "Turn raw pixels into an image file", ConvertRaw,
       FromRawOptions() + ImageOptions() + CommonOptions(),
       "  qrvshot from-raw --width 1440 --height 900 --row-bytes 5760 pixels -o shot.png\n", ""},
      {"methods", "List the methods that the plug-in offers", ShowMethods, CommonOptions(),
       "  qrvshot methods\n", ""},
  };
  return commands;
}

}  // namespace qrv::cli
