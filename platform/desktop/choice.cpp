#include "platform/desktop/choice.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <string_view>

#include "platform/desktop/system_version.h"
#include "platform/desktop/virtual/desktop.h"
#include "platform/desktop/virtual/layout.h"
#include "platform/desktop/wayland/desktop.h"
#include "platform/desktop/x11/desktop.h"
#include "platform/desktop/x11/reach.h"

namespace qrv::desktop {

// One line a kind of desktop, in the order of trying. All that depends on the kind is here.
struct DesktopKind {
  std::string_view name;             // as QRV_DESKTOP names it
  std::string_view argument;         // what may follow "name:", in help
  std::string (*defaultArgument)();  // what the name alone means here; empty for nothing
  const char* lack;                  // why the name alone means nothing
  bool isDefault;                    // taken without a choice when its name alone means something
  std::unique_ptr<Desktop> (*open)(const std::string& argument, std::string& problem);
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
    "finds, "
    "as the installed package has one.";

std::unique_ptr<Desktop> OpenX11(const std::string& display, std::string& problem) {
  ServerName name;
  if (ParseServerName(display, name)) return OpenX11Desktop(display);
  problem = "'" + display + "' is not the name of an X display";
  return nullptr;
}

constexpr DesktopKind kKinds[] = {
    {"wayland", "SOCKET", [] { return Variable("WAYLAND_DISPLAY"); }, kNoSocket, true,
     [](const std::string& socket, std::string&) { return OpenWaylandDesktop(socket, false); },
     "wayland:wayland-1", kWaylandAdvice},
    {"portal", "SOCKET", [] { return Variable("WAYLAND_DISPLAY"); }, kNoSocket, false,
     [](const std::string& socket, std::string&) { return OpenWaylandDesktop(socket, true); },
     "portal:wayland-1", kWaylandAdvice},
    {"x11", "DISPLAY", [] { return Variable("DISPLAY"); }, "DISPLAY is not set", true, OpenX11,
     "x11::0",
     "Check that the X server runs and that you may connect to it, or name another one like x11::1 "
     "(--desktop or QRV_DESKTOP)."},
    {"virtual", "LAYOUT", [] { return std::string(kDefaultLayout); }, "", false,
     [](const std::string& layout, std::string& problem) {
       return OpenVirtualDesktop(layout, problem);
     },
     "virtual:1440x900+0+0,1280x1024+1440+0",
     "Write it like virtual:1440x900+0+0,1280x1024+1440+0."},
};
const DesktopKind& kSubstitute = *(std::end(kKinds) - 1);

constexpr char kSetIt[] =
    "Start it within the desktop's session, set one of them (like DISPLAY=:0), or take the desktop "
    "virtual (--desktop or QRV_DESKTOP).";

// Takes the default, or what `any` names when there is none.
constexpr std::string_view kAny = "any";

std::string Quoted(std::string_view words) {
  constexpr size_t kMostWords = 60;
  return '"' + std::string(words.substr(0, kMostWords)) + '"';
}

Choice Lacking(std::string problem) { return {nullptr, {}, std::move(problem), {}, kSetIt}; }

Choice Wrong(std::string problem, std::string advice) {
  return {nullptr, {}, std::move(problem), {}, std::move(advice), true};
}

Choice TakeDefault(std::string_view wanted) {
  std::string lacks;
  for (const DesktopKind& kind : kKinds) {
    if (!kind.isDefault) continue;
    std::string argument = kind.defaultArgument();
    if (!argument.empty()) return {&kind, std::move(argument), {}, {}, kind.advice};
    lacks += (lacks.empty() ? "" : ", ") + std::string(kind.lack);
  }
  if (wanted != kAny) return Lacking(lacks);
  return {&kSubstitute,
          kSubstitute.defaultArgument(),
          {},
          lacks + ": this is the built-in virtual desktop",
          kSubstitute.advice};
}

Choice TakeKind(const DesktopKind& kind, std::string_view wanted) {
  if (wanted.size() > kind.name.size()) {
    const std::string_view argument = wanted.substr(kind.name.size() + 1);
    if (!argument.empty()) return {&kind, std::string(argument), {}, {}, kind.advice};
    return Wrong("the desktop " + Quoted(wanted) + " names no " + std::string(kind.argument),
                 "Write it like " + std::string(kind.example) + ".");
  }
  std::string argument = kind.defaultArgument();
  if (argument.empty()) return Lacking(kind.lack);
  return {&kind, std::move(argument), {}, {}, kind.advice};
}

std::string Choices() {
  std::string choices;
  for (const DesktopKind& kind : kKinds) {
    const bool isLast = &kind == std::end(kKinds) - 1;
    choices += std::string(choices.empty() ? "" : ", ") + std::string(kind.name) +
               (isLast ? " or " : ", ") + std::string(kind.name) + ":" + std::string(kind.argument);
  }
  return choices;
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
  return Wrong("there is no desktop " + Quoted(wanted), "Use " + Choices() + ".");
}

std::unique_ptr<Desktop> Open(const Choice& choice, std::string& problem) {
  problem = choice.problem;
  return choice.kind == nullptr ? nullptr : choice.kind->open(choice.argument, problem);
}

const char* DesktopChoices() noexcept {
  static const std::string choices = Choices();
  return choices.c_str();
}

}  // namespace qrv::desktop
