#include <algorithm>
#include <cstdio>
#include <string>

#include "cli/commands.h"
#include "cli/desktop_choice.h"
#include "cli/failure.h"
#include "cli/output_file.h"
#include "cli/progress.h"
#include "cli/report.h"
#include "cli/start_host.h"
#include "runtime/displays.h"

namespace qrv::cli {

namespace {

using runtime::Host;

constexpr std::string_view kMain =
    "ScreenshotStringQRV(byref Width as integer, byref Height as integer, byref RowBytes as "
    "integer) as string";
constexpr std::string_view kDisplay =
    "ScreenshotStringDisplayQRV(byref Width as integer, byref Height as integer, byref RowBytes as "
    "integer, index as integer) as string";

constexpr size_t kBlockSize = 1 << 20;  // bytes between two looks at the progress

struct Geometry {
  int32_t width = 0;
  int32_t height = 0;
  int32_t rowBytes = 0;
};

REALstringStruct* CallMethod(const Host& host, std::optional<int32_t> display, Geometry& geometry) {
  if (display) {
    return host.Call<REALstringStruct*>(kDisplay, &geometry.width, &geometry.height,
                                        &geometry.rowBytes, *display);
  }
  return host.Call<REALstringStruct*>(kMain, &geometry.width, &geometry.height, &geometry.rowBytes);
}

std::string WhyNoPixels() {
  const std::string problem = runtime::DesktopProblem();
  if (!problem.empty()) {
    return "The reason: " + problem + ". Try again.";
  }
  if (IsSystemVersionChosen()) {
    return "They are read by OpenGL, which needs a system of version 10.5 or later; try "
           "--system-version 10.6.";
  }
  return "There may be too little memory; try `qrvshot capture`.";
}

void WriteBytes(std::string_view bytes, const std::string& path) {
  OutputFile file(path);
  Progress progress(path, static_cast<int64_t>(bytes.size()));
  for (size_t start = 0; start < bytes.size(); start += kBlockSize) {
    const std::string_view block = bytes.substr(start, kBlockSize);
    if (!file.Write(block.data(), block.size())) {
      file.Fail();
    }
    progress.Reach(static_cast<int64_t>(start));
  }
  file.Commit();
}

}  // namespace

void WriteRaw(const Arguments& arguments) {
  const auto host = StartHost(arguments);
  RequireMethod(*host, arguments.display ? kDisplay : kMain);
  RequireDisplay(RequireDisplays(), arguments.display);
  Geometry geometry;
  const Owned pixels(*host, CallMethod(*host, arguments.display, geometry));
  if (pixels.Get() == nullptr) {
    throw Failure(kNothingCaptured, "The raw pixels of display " +
                                        std::to_string(arguments.display.value_or(0)) + " of " +
                                        DesktopName() + " could not be had. " + WhyNoPixels());
  }
  RequirePixels("the raw pixels of " + DesktopName());
  WriteBytes(Host::Bytes(pixels.Get()), arguments.output);
  fprintf(WordsBeside(arguments.output),
          arguments.json ? "{\"width\": %d, \"height\": %d, \"rowBytes\": %d}\n" : "%d %d %d\n",
          geometry.width, geometry.height, geometry.rowBytes);
}

}  // namespace qrv::cli
