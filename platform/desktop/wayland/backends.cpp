#include "platform/desktop/wayland/backends.h"

#include <string>

#include "platform/desktop/wayland/session_bus/library.h"

namespace qrv::desktop::wayland {
namespace {

struct BackendKind {
  const char* name;
  bool isPortal;
  // Throws Error when it is not there.
  std::unique_ptr<Backend> (*open)(Connection& connection, const Screen& screen);
};

// In the order of trying. The first two are the compositor's own; of these the newer needs no wait
// for the next frame. The others go over the session bus, and the last may ask a person.
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
  throw Error(reason, "there is no way to the compositor's pixels (" + reasons + ")");
}

}  // namespace qrv::desktop::wayland
