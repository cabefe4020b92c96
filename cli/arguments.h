// The command line.
#ifndef CLI_ARGUMENTS_H_
#define CLI_ARGUMENTS_H_

#include <cstdint>
#include <optional>
#include <string>

#include "cli/image_file.h"
#include "cli/parse_values.h"
#include "cli/strategies.h"
#include "runtime/host.h"

namespace qrv::cli {

enum class Command { kCapture, kDisplays, kMethods, kRaw, kFromRaw };

struct Arguments {
  Command command = Command::kCapture;

  // For all commands.
  std::string plugin;  // empty: the one that belongs to this program
  runtime::HostOptions host;
  std::string desktop;        // empty: as the environment says
  std::string systemVersion;  // empty: as the environment says

  // For those that have them.
  std::optional<int32_t> display;
  std::optional<Rect> rect;
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
