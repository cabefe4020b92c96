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

// One entry per kind of desktop, in the order in which they are tried. All that depends on the kind
// is here.
struct DesktopKind {
  const char* name;                  // as QRV_DESKTOP names it
  const char* argument;              // what may follow "name:", in help
  int32_t kind;                      // as hosts know it
  bool isDefault;                    // chosen when QRV_DESKTOP is unset and there is a default
  std::string (*defaultArgument)();  // of the name without one; empty when there is no default
  const char* noDefault;             // the message when there is no default
  std::unique_ptr<Desktop> (*open)(const std::string& argument);
  const char* example;  // of a choice with an argument
  const char* advice;   // when it can't be opened
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
    "this desktop, and your consent when it asks. KWin allows programs whose desktop file it "
    "finds: install the package, or the build with `cmake --install`.";

constexpr DesktopKind kKinds[] = {
    {"wayland", "SOCKET", kQRVWayland, true, [] { return Variable("WAYLAND_DISPLAY"); }, kNoSocket,
     [](const std::string& socket) { return OpenWaylandDesktop(socket, false); },
     "wayland:wayland-1", kWaylandAdvice},
    {"portal", "SOCKET", kQRVWayland, false, [] { return Variable("WAYLAND_DISPLAY"); }, kNoSocket,
     [](const std::string& socket) { return OpenWaylandDesktop(socket, true); }, "portal:wayland-1",
     kWaylandAdvice},
    {"x11", "DISPLAY", kQRVX11, true, [] { return Variable("DISPLAY"); }, "DISPLAY is not set",
     OpenX11Desktop, "x11::0",
     "Check that the X server runs and that you may connect to it, or name another one like x11::1 "
     "(--desktop or QRV_DESKTOP)."},
    {"virtual", "LAYOUT", kQRVVirtualDesktop, false, [] { return std::string(kDefaultLayout); }, "",
     OpenVirtualDesktop, "virtual:1440x900+0+0,1280x1024+1440+0",
     "Write it like virtual:1440x900+0+0,1280x1024+1440+0."},
};
const DesktopKind& kSubstitute = *(std::end(kKinds) - 1);

constexpr char kNoDesktopAdvice[] =
    "Start it within the desktop's session. From cron or ssh, set DISPLAY=:0 and XAUTHORITY, or "
    "WAYLAND_DISPLAY=wayland-0 and XDG_RUNTIME_DIR=/run/user/UID, as they are there. Or take the "
    "desktop virtual (--desktop or QRV_DESKTOP).";

// The default, or the substitute when there is none.
constexpr std::string_view kAny = "any";

std::string Quoted(std::string_view text) {
  constexpr size_t kMaxQuoted = 60;
  return '"' + std::string(text.substr(0, kMaxQuoted)) + '"';
}

Choice NoDesktop(std::string message) {
  return {nullptr, {}, Reason::kNoDesktop, std::move(message), {}, kNoDesktopAdvice};
}

Choice BadChoice(std::string message, std::string advice) {
  return {nullptr, {}, Reason::kBadChoice, std::move(message), {}, std::move(advice)};
}

Choice Chosen(const DesktopKind& kind, std::string argument, std::string note = {}) {
  return {&kind, std::move(argument), Reason::kNone, {}, std::move(note), kind.advice};
}

Choice ChooseDefault(std::string_view wanted) {
  std::string reasons;
  for (const DesktopKind& kind : kKinds) {
    if (!kind.isDefault) continue;
    std::string argument = kind.defaultArgument();
    if (!argument.empty()) return Chosen(kind, std::move(argument));
    reasons += (reasons.empty() ? "" : ", ") + std::string(kind.noDefault);
  }
  if (wanted != kAny) return NoDesktop(reasons);
  return Chosen(kSubstitute, kSubstitute.defaultArgument(),
                reasons + ": this is the built-in virtual desktop");
}

Choice ChooseKind(const DesktopKind& kind, std::string_view wanted) {
  const size_t nameLength = std::strlen(kind.name);
  if (wanted.size() > nameLength) {
    const std::string_view argument = wanted.substr(nameLength + 1);
    if (!argument.empty()) return Chosen(kind, std::string(argument));
    return BadChoice("the desktop " + Quoted(wanted) + " names no " + std::string(kind.argument),
                     "Write it like " + std::string(kind.example) + ".");
  }
  std::string argument = kind.defaultArgument();
  if (argument.empty()) return NoDesktop(kind.noDefault);
  return Chosen(kind, std::move(argument));
}

}  // namespace

Choice ReadChoice() {
  if (!SystemVersion()) {
    return BadChoice("QRV_SYSTEM_VERSION is not a version like 10.7", "Unset it, or correct it.");
  }
  const std::string wanted = Variable("QRV_DESKTOP");
  if (wanted.empty() || wanted == kAny) return ChooseDefault(wanted);
  const auto found = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const auto& kind) {
    return wanted == kind.name || wanted.starts_with(std::string(kind.name) + ":");
  });
  if (found != std::end(kKinds)) return ChooseKind(*found, wanted);
  return BadChoice("there is no desktop " + Quoted(wanted),
                   "Use " + std::string(DesktopChoices()) + ".");
}

std::unique_ptr<Desktop> Open(const Choice& choice) {
  if (choice.kind == nullptr) throw Error(choice.reason, choice.message);
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
