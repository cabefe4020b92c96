#include "platform/desktop/wayland/backends.h"

#include <string>

#include "platform/desktop/wayland/session_bus/library.h"

namespace qrv::desktop::wayland {
namespace {

struct BackendKind {
  const char* name;
  bool isPortal;
  // Throws Error when it is unavailable.
  std::unique_ptr<Backend> (*open)(Connection& connection, const Screen& screen);
};

// In the order in which they are tried. The first two are the compositor's own protocols, of which
// the newer one need not wait for the next frame. The others use the session bus, and the last one
// may ask a person.
constexpr BackendKind kBackends[] = {
    {"ext-image-copy-capture", false, OpenImageCopy},
    {"wlr-screencopy", false, OpenScreencopy},
    {"KWin", false,
     [](Connection& connection, const Screen& screen) {
       return session_bus::OpenKWin(PlaceOutputs(screen.outputs()), connection.deadline());
     }},
    {"the portal", true,
     [](Connection& connection, const Screen&) {
       return session_bus::OpenPortal(connection.deadline());
     }},
};

}  // namespace

std::unique_ptr<Backend> ChooseBackend(Connection& connection, const Screen& screen,
                                       bool byPortal) {
  std::string reasons;
  Reason reason = Reason::kUnsupported;
  for (const BackendKind& kind : kBackends) {
    if (byPortal && !kind.isPortal) continue;
    try {
      return kind.open(connection, screen);
    } catch (const Error& error) {
      reasons += (reasons.empty() ? "" : "; ") + std::string(kind.name) + ": " + error.what();
      if (error.reason() == Reason::kTimeout) reason = Reason::kTimeout;
    }
  }
  throw Error(reason, "no backend can capture the compositor (" + reasons + ")");
}

}  // namespace qrv::desktop::wayland
