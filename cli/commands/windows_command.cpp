#include <cinttypes>
#include <cstdio>

#include "cli/arguments.h"
#include "cli/capture/desktop_choice.h"
#include "cli/capture/start_host.h"
#include "cli/capture/window_choice.h"
#include "cli/commands/report.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

const char* StateOf(const QRVWindow& window) {
  switch (window.state) {
    case kQRVWindowShown:
      return "shown";
    case kQRVWindowMinimized:
      return "minimized";
    default:
      return "elsewhere";
  }
}

// The display that shows most of the window; empty when none does.
std::string DisplayOf(const QRVWindow& window, const Displays& displays) {
  const auto shared = [](int32_t start, int32_t length, int32_t otherStart, int32_t otherLength) {
    const int64_t end = std::min(int64_t{start} + length, int64_t{otherStart} + otherLength);
    return std::max<int64_t>(end - std::max(start, otherStart), 0);
  };
  int64_t most = 0;
  std::string name;
  for (size_t index = 0; index < displays.size(); ++index) {
    const QRVDisplay& display = displays[index];
    const int64_t area = shared(window.x, window.width, display.x, display.width) *
                         shared(window.y, window.height, display.y, display.height);
    if (area <= most) continue;
    most = area;
    name = display.name[0] == '\0' ? std::to_string(index) : display.name;
  }
  return name;
}

void PrintText(const QRVWindow& window, const QRVDisplay& main, const std::string& display) {
  printf("0x%" PRIx64 "  %dx%d  at %d,%d", window.id, window.width, window.height,
         window.x + main.offsetX, window.y + main.offsetY);
  PrintLine(stdout,
            std::string(window.program[0] == '\0' ? "" : "  ") + window.program +
                (display.empty() ? "" : "  on " + display) +
                (window.isActive != 0 ? "  active" : "") +
                (window.state == kQRVWindowShown ? "" : std::string("  ") + StateOf(window)) +
                "  " + window.title);
}

void PrintJson(bool isFirst, const QRVWindow& window, const QRVDisplay& main,
               const std::string& display) {
  printf("%s\n  {\"id\": %" PRIu64
         ", \"title\": %s, \"program\": %s, \"x\": %d, \"y\": %d, "
         "\"width\": %d, \"height\": %d, \"contentX\": %d, \"contentY\": %d, "
         "\"contentWidth\": %d, \"contentHeight\": %d, \"display\": %s, \"state\": \"%s\", "
         "\"active\": %s}",
         isFirst ? "" : ",", window.id, JsonString(window.title).c_str(),
         JsonString(window.program).c_str(), window.x + main.offsetX, window.y + main.offsetY,
         window.width, window.height, window.contentX + main.offsetX,
         window.contentY + main.offsetY, window.contentWidth, window.contentHeight,
         display.empty() ? "null" : JsonString(display).c_str(), StateOf(window),
         window.isActive != 0 ? "true" : "false");
}

}  // namespace

void ShowWindows(const Arguments& arguments) {
  StartHost(arguments);
  const Displays displays = RequireDisplays();
  const Windows windows = RequireWindows();
  if (arguments.json) fputs("[", stdout);
  for (size_t i = 0; i < windows.size(); ++i) {
    const std::string display = DisplayOf(windows[i], displays);
    if (arguments.json) {
      PrintJson(i == 0, windows[i], displays.front(), display);
    } else {
      PrintText(windows[i], displays.front(), display);
    }
  }
  if (arguments.json) puts("\n]");
}

}  // namespace qrv::cli
