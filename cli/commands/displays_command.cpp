#include <cmath>
#include <cstdio>

#include "cli/arguments.h"
#include "cli/capture/desktop_choice.h"
#include "cli/capture/start_host.h"
#include "cli/commands/report.h"
#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

// Pixels a unit.
double Density(const QRVDisplay& display) {
  return std::round(100.0 * display.pixelWidth / display.width) / 100;
}

void PrintText(size_t index, const QRVDisplay& display) {
  printf("%zu  id %u  %dx%d  at %d,%d  %d bits per pixel", index, display.id, display.width,
         display.height, display.x + display.offsetX, display.y + display.offsetY,
         display.bitsPerPixel);
  if (display.pixelWidth != display.width || display.pixelHeight != display.height) {
    printf("  %dx%d pixels, %g a unit", display.pixelWidth, display.pixelHeight, Density(display));
  }
  const std::string name = display.name[0] == '\0' ? "" : std::string("  ") + display.name;
  PrintLine(stdout, name + "  by " + QRVBackendName() + (index == 0 ? "  main" : ""));
}

void PrintJson(size_t index, const QRVDisplay& display) {
  printf(
      "%s\n  {\"index\": %zu, \"name\": %s, \"id\": %u, \"x\": %d, \"y\": %d, \"fromMainX\": %d, "
      "\"fromMainY\": "
      "%d, \"width\": %d, \"height\": %d, "
      "\"pixelWidth\": %d, \"pixelHeight\": %d, \"density\": %g, \"bitsPerPixel\": %d, \"main\": "
      "%s, \"way\": %s}",
      index == 0 ? "" : ",", index, JsonString(display.name).c_str(), display.id,
      display.x + display.offsetX, display.y + display.offsetY, display.x, display.y, display.width,
      display.height, display.pixelWidth, display.pixelHeight, Density(display),
      display.bitsPerPixel, index == 0 ? "true" : "false", JsonString(QRVBackendName()).c_str());
}

}  // namespace

void ShowDisplays(const Arguments& arguments) {
  // The plug-in lists nothing, but one that can't be loaded is to be told of in every command.
  StartHost(arguments);
  const std::vector<QRVDisplay> displays = RequireDisplays();
  if (arguments.json) fputs("[", stdout);
  for (size_t index = 0; index < displays.size(); ++index) {
    (arguments.json ? PrintJson : PrintText)(index, displays[index]);
  }
  if (arguments.json) puts("\n]");
}

}  // namespace qrv::cli
