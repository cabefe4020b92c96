// The command line: the commands and what they are told.
#ifndef CLI_ARGUMENTS_H_
#define CLI_ARGUMENTS_H_

#include <screenshotqrv/platform.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cli/image/image_file.h"
#include "cli/parse_values.h"
#include "runtime/host.h"

namespace qrv::cli {

struct Arguments;

// The commands. Each throws Failure.
void Capture(const Arguments& arguments);  // the desktop or a part of it, into image files
void ShowDisplays(const Arguments& arguments);
void ShowWindows(const Arguments& arguments);
void ShowMethods(const Arguments& arguments);  // that the plug-in offers
void WriteRaw(const Arguments& arguments);     // a display's raw pixels, into a file
void ConvertRaw(const Arguments& arguments);   // raw pixels into an image file

using Command = void (*)(const Arguments& arguments);

// A way to get at the pixels of a display, tied to the generation of the system that tries it
// first.
struct Strategy {
  std::string_view name;
  const char* systemVersion;
  unsigned bit;  // of QRVTakeStrategies
};

inline constexpr Strategy kStrategies[] = {
    {"display-image", "10.7", kQRVDisplayImage},
    {"opengl", "10.6", kQRVOpenGL},
    {"quickdraw", "10.4", kQRVQuickDraw},
};

struct Arguments {
  Command command = Capture;

  // For all commands.
  std::string plugin;  // empty: the one that belongs to this program
  runtime::HostOptions host;
  std::string desktop;        // empty: as the environment says
  std::string systemVersion;  // empty: as the environment says

  // What is captured. None of the first three: the whole desktop.
  std::string display;       // as the user calls it; empty: none is chosen
  std::optional<Rect> rect;  // in the desktop's own coordinates
  std::string window;        // as the user calls it; empty: none is chosen
  bool withoutFrame = false;
  bool withPointer = false;
  bool inUnits = false;      // one pixel a unit, whatever the displays' density
  std::optional<Size> size;  // a side of 0 follows the other one
  std::optional<double> percent;
  const Strategy* strategy = nullptr;
  bool selects = false;          // a rectangle by mouse
  double delay = 0;              // seconds
  std::optional<int32_t> count;  // of captures, one after the other; 0 until a signal ends them
  double interval = 1;           // seconds from the start of one to that of the next

  bool IsSeries() const { return count.value_or(1) != 1; }

  // Where it goes.
  std::string output;       // empty, or a folder: a name by date and time
  std::string overruled;    // an output that another one behind it has replaced
  bool keepsFiles = false;  // and takes the next free name
  bool makesFolders = false;
  Encoding encoding;
  bool copies = false;  // to the clipboard; without an output nowhere else
  bool json = false;
  bool quiet = false;  // reports only failures

  // Of from-raw.
  std::string input;
  int32_t width = 0;
  int32_t height = 0;
  int32_t rowBytes = 0;
};

}  // namespace qrv::cli

#endif  // CLI_ARGUMENTS_H_
