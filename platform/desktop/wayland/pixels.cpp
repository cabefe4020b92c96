#include "platform/desktop/wayland/pixels.h"

#include "platform/desktop/portal/library.h"
#include "platform/desktop/wayland/image_copy.h"
#include "platform/desktop/wayland/screencopy.h"

namespace qrv::desktop::wayland {
namespace {

struct Way {
  const char* name;
  bool isPortal;
  std::unique_ptr<PixelSource> (*open)(Connection& connection, const Screen& screen,
                                       std::string& problem);
};

// In the order of trying. The first two are the compositor's own; of these the newer needs no wait
// for the next frame. The others go over the session bus, and a person may be asked by the last.
constexpr Way kWays[] = {
    {"ext-image-copy-capture", false, OpenImageCopy},
    {"wlr-screencopy", false, OpenScreencopy},
    {"KWin", false,
     [](Connection&, const Screen& screen, std::string& problem) {
       return portal::OpenKWin(PlaceOutputs(screen.outputs()), problem);
     }},
    {"the portal", true,
     [](Connection&, const Screen&, std::string& problem) { return portal::OpenPortal(problem); }},
};

}  // namespace

std::unique_ptr<PixelSource> ChoosePixelSource(Connection& connection, const Screen& screen,
                                               bool byPortal, std::string& problem) {
  std::string lacks;
  for (const Way& way : kWays) {
    if (byPortal && !way.isPortal) continue;
    std::string lack;
    if (auto source = way.open(connection, screen, lack)) return source;
    lacks += (lacks.empty() ? "" : "; ") + std::string(way.name) + ": " + lack;
  }
  problem = "there is no way to the compositor's pixels (" + lacks + ")";
  return nullptr;
}

}  // namespace qrv::desktop::wayland
