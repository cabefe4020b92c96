#include "platform/desktop/choice.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "platform/desktop/virtual/desktop.h"
#include "platform/desktop/virtual/layout.h"
#include "platform/desktop/wayland/desktop.h"
#include "platform/desktop/x11/desktop.h"
#include "platform/system_version.h"

namespace qrv::desktop {

// One line a kind of desktop, in the order of trying. All that depends on the kind is here.
struct DesktopKind {
  const char* name;                  // as QRV_DESKTOP names it
  const char* argument;              // what may follow "name:", in help
  int32_t kind;                      // as hosts know it
  bool isDefault;                    // taken without a choice when its name alone means something
  std::string (*defaultArgument)();  // what the name alone means here; empty for nothing
  const char* lack;                  // why the name alone means nothing
  std::unique_ptr<Desktop> (*open)(const std::string& argument);
  const char* example;  // of a choice with an argument
  const char* advice;   // when it can't be opened or reached
};

namespace {

std::string Variable(const char* name) {
  const char* const value = secure_getenv(name);
  return value == nullptr ? "" : value;
}

constexpr char kNoSocket[] = "WAYLAND_DISPLAY is not set";
constexpr char kWaylandAdvice[] =
    "Check that the compositor runs and that you may connect to it (WAYLAND_DISPLAY and "
    "XDG_RUNTIME_DIR). One without a capture protocol needs xdg-desktop-portal with a backend for "
    "this desktop, and an answer to its question. KWin allows programs whose desktop file it "
    "finds: install the package, or the build with `cmake --install`.";

std::unique_ptr<Desktop> OpenX11(const std::string& display) {
  if (IsX11DisplayName(display)) return OpenX11Desktop(display);
  throw Error(Reason::kBadChoice,
              "'" + display +
                  "' is not the name of an X display, which begins with a colon or a "
                  "host: x11::0");
}

constexpr DesktopKind kKinds[] = {
    {"wayland", "SOCKET", kQRVWayland, true, [] { return Variable("WAYLAND_DISPLAY"); }, kNoSocket,
     [](const std::string& socket) { return OpenWaylandDesktop(socket, false); },
     "wayland:wayland-1", kWaylandAdvice},
    {"portal", "SOCKET", kQRVWayland, false, [] { return Variable("WAYLAND_DISPLAY"); }, kNoSocket,
     [](const std::string& socket) { return OpenWaylandDesktop(socket, true); }, "portal:wayland-1",
     kWaylandAdvice},
    {"x11", "DISPLAY", kQRVX11, true, [] { return Variable("DISPLAY"); }, "DISPLAY is not set",
     OpenX11, "x11::0",
     "Check that the X server runs and that you may connect to it, or name another one like x11::1 "
     "(--desktop or QRV_DESKTOP)."},
    {"virtual", "LAYOUT", kQRVVirtualDesktop, false, [] { return std::string(kDefaultLayout); }, "",
     OpenVirtualDesktop, "virtual:1440x900+0+0,1280x1024+1440+0",
     "Write it like virtual:1440x900+0+0,1280x1024+1440+0."},
};
const DesktopKind& kSubstitute = *(std::end(kKinds) - 1);

constexpr char kSetIt[] =
    "Start it within the desktop's session. From cron or ssh, set DISPLAY=:0 and XAUTHORITY, or "
    "WAYLAND_DISPLAY=wayland-0 and XDG_RUNTIME_DIR=/run/user/UID, as they are there. Or take the "
    "desktop virtual (--desktop or QRV_DESKTOP).";

// Takes the default, or what `any` names when there is none.
constexpr std::string_view kAny = "any";

std::string Quoted(std::string_view words) {
  constexpr size_t kMostWords = 60;
  return '"' + std::string(words.substr(0, kMostWords)) + '"';
}

Choice Lacking(std::string problem) {
  return {nullptr, {}, Reason::kNoDesktop, std::move(problem), {}, kSetIt};
}

Choice Wrong(std::string problem, std::string advice) {
  return {nullptr, {}, Reason::kBadChoice, std::move(problem), {}, std::move(advice)};
}

Choice Taken(const DesktopKind& kind, std::string argument, std::string note = {}) {
  return {&kind, std::move(argument), Reason::kNone, {}, std::move(note), kind.advice};
}

Choice TakeDefault(std::string_view wanted) {
  std::string lacks;
  for (const DesktopKind& kind : kKinds) {
    if (!kind.isDefault) continue;
    std::string argument = kind.defaultArgument();
    if (!argument.empty()) return Taken(kind, std::move(argument));
    lacks += (lacks.empty() ? "" : ", ") + std::string(kind.lack);
  }
  if (wanted != kAny) return Lacking(lacks);
  return Taken(kSubstitute, kSubstitute.defaultArgument(),
               lacks + ": this is the built-in virtual desktop");
}

Choice TakeKind(const DesktopKind& kind, std::string_view wanted) {
  const size_t nameLength = std::strlen(kind.name);
  if (wanted.size() > nameLength) {
    const std::string_view argument = wanted.substr(nameLength + 1);
    if (!argument.empty()) return Taken(kind, std::string(argument));
    return Wrong("the desktop " + Quoted(wanted) + " names no " + std::string(kind.argument),
                 "Write it like " + std::string(kind.example) + ".");
  }
  std::string argument = kind.defaultArgument();
  if (argument.empty()) return Lacking(kind.lack);
  return Taken(kind, std::move(argument));
}

}  // namespace

Choice ReadChoice() {
  if (!SystemVersion()) {
    return Wrong("QRV_SYSTEM_VERSION is not a version like 10.7", "Unset it, or correct it.");
  }
  const std::string wanted = Variable("QRV_DESKTOP");
  if (wanted.empty() || wanted == kAny) return TakeDefault(wanted);
  const auto found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& kind) {
    return wanted == kind.name || wanted.starts_with(std::string(kind.name) + ":");
  });
  if (found != std::end(kKinds)) return TakeKind(*found, wanted);
  return Wrong("there is no desktop " + Quoted(wanted),
               "Use " + std::string(DesktopChoices()) + ".");
}

std::unique_ptr<Desktop> Open(const Choice& choice) {
  if (choice.kind == nullptr) throw Error(choice.reason, choice.problem);
  return choice.kind->open(choice.argument);
}

int32_t KindOf(const Choice& choice) {
  return choice.kind == nullptr ? int32_t{kQRVNoDesktopKind} : choice.kind->kind;
}

const char* DesktopChoices() noexcept {
  static char choices[160];
  size_t length = 0;
  for (const DesktopKind& kind : kKinds) {
    const char* const before = length == 0 ? "" : ", ";
    const char* const between = &kind == std::end(kKinds) - 1 ? " or" : ",";
    const int added = std::snprintf(choices + length, sizeof choices - length, "%s%s%s %s:%s",
                                    before, kind.name, between, kind.name, kind.argument);
    length += static_cast<size_t>(std::max(added, 0));
  }
  return choices;
}

}  // namespace qrv::desktop
