#include <cstdio>
#include <string>

#include "cli/arguments.h"
#include "cli/capture/desktop_choice.h"
#include "cli/capture/start_host.h"
#include "cli/commands/report.h"
#include "cli/failure.h"
#include "cli/output/output_file.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

namespace methods = runtime::methods;

constexpr size_t kBlockSize = 1 << 20;  // bytes between two looks at the progress

std::string WhyNoPixels() {
  const std::string problem = QRVFailureMessage();
  if (!problem.empty()) return "The reason: " + problem + ". Try again.";
  if (IsSystemVersionChosen()) {
    return "They are read by OpenGL, which needs a system of version 10.5 or later; try "
           "--system-version 10.6.";
  }
  return "There may be too little memory; try `qrvshot capture`.";
}

void WriteBytes(std::string_view bytes, const std::string& path) {
  OutputFile file(path);
  for (size_t start = 0; start < bytes.size(); start += kBlockSize) {
    const std::string_view block = bytes.substr(start, kBlockSize);
    file.Write(block.data(), block.size());
    file.ShowProgress(static_cast<int64_t>(start), static_cast<int64_t>(bytes.size()));
  }
  file.Commit();
}

}  // namespace

void WriteRaw(const Arguments& arguments) {
  RequireNoTerminal(arguments.output);
  const auto host = StartHost(arguments);
  const Displays displays = RequireDisplays();
  std::optional<int32_t> display;
  if (!arguments.display.empty()) display = ResolveDisplay(displays, arguments.display);
  int32_t width = 0;
  int32_t height = 0;
  int32_t rowBytes = 0;
  const auto pixels =
      display
          ? CallMethod(*host, methods::kScreenshotStringDisplay, width, height, rowBytes, *display)
          : CallMethod(*host, methods::kScreenshotString, width, height, rowBytes);
  if (pixels == nullptr) {
    throw Failure(kNothingCaptured, "The raw pixels of display " +
                                        std::to_string(display.value_or(0)) + " of " +
                                        DesktopName() + " could not be had. " + WhyNoPixels());
  }
  RequirePixels("the raw pixels of " + DesktopName());
  if (arguments.makesFolders) MakeFolders(arguments.output);
  WriteBytes(runtime::Host::Bytes(pixels.get()), arguments.output);
  if (IsQuiet()) return;
  fprintf(ReportStream(arguments.output),
          arguments.json ? "{\"width\": %d, \"height\": %d, \"rowBytes\": %d}\n" : "%d %d %d\n",
          width, height, rowBytes);
}

}  // namespace qrv::cli
