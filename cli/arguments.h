// The command line: the commands and what they are told.
#ifndef CLI_ARGUMENTS_H_
#define CLI_ARGUMENTS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cli/image_file.h"
#include "cli/parse_values.h"
#include "runtime/desktop_view.h"
#include "runtime/host.h"

namespace qrv::cli {

struct Arguments;

// The commands. Each throws Failure.
void Capture(const Arguments& arguments);  // a display or a rectangle, into an image file
void ShowDisplays(const Arguments& arguments);
void ShowMethods(const Arguments& arguments);  // that the plug-in offers
void WriteRaw(const Arguments& arguments);     // a display's raw pixels, into a file
void ConvertRaw(const Arguments& arguments);   // raw pixels into an image file

using Command = void (*)(const Arguments& arguments);

// A way to get at the pixels of a display, tied to the generation of the system that tries it
// first.
struct Strategy {
  std::string_view name;
  const char* systemVersion;
  unsigned bit;  // of runtime::TakeStrategiesUsed
};

inline constexpr Strategy kStrategies[] = {
    {"display-image", "10.7", runtime::kDisplayImage},
    {"opengl", "10.6", runtime::kOpenGL},
    {"quickdraw", "10.4", runtime::kQuickDraw},
};

struct Arguments {
  Command command = Capture;

  // For all commands.
  std::string plugin;  // empty: the one that belongs to this program
  runtime::HostOptions host;
  std::string desktop;        // empty: as the environment says
  std::string systemVersion;  // empty: as the environment says

  // For those that have them.
  std::optional<int32_t> display;
  std::optional<Rect> rect;
  bool inUnits = false;  // one pixel a unit, whatever the displays' density
  std::optional<Size> size;
  const Strategy* strategy = nullptr;
  std::string output;
  ImageFormat format = ImageFormat::kPng;
  std::optional<int> compression;
  bool json = false;

  // Of from-raw.
  std::string input;
  int32_t width = 0;
  int32_t height = 0;
  int32_t rowBytes = 0;
};

// Nothing when the command line asked only for help or the version, which has then been printed.
// Throws Failure for wrong usage.
std::optional<Arguments> ParseArguments(int argc, const char* const* argv);

}  // namespace qrv::cli

#endif  // CLI_ARGUMENTS_H_
