#include "cli/capture/desktop_choice.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "cli/failure.h"
#include "cli/output/terminal.h"
#include "cli/parse_values.h"

namespace qrv::cli {

namespace {

constexpr char kDesktopVariable[] = "QRV_DESKTOP";
constexpr char kSystemVersionVariable[] = "QRV_SYSTEM_VERSION";

std::string Environment(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

// What to do about there being no desktop. An X server that refuses has seen no cookie, or a wrong
// one.
std::string Advice() {
  if (QRVFailure() != kQRVRefused || QRVDesktopKind() != kQRVX11) return QRVFailureAdvice();
  const std::string chosen = Environment("XAUTHORITY");
  const std::string file = chosen.empty() ? Environment("HOME") + "/.Xauthority" : chosen;
  return "The cookie for it was looked for in " + file +
         (access(file.c_str(), R_OK) == 0 ? "" : ", which can't be read") +
         "; set XAUTHORITY to the file of the user whose desktop it is.";
}

// Tells of what is no failure.
void Tell(const std::string& message) {
  if (!IsQuiet()) PrintLine(stderr, "qrvshot: " + message);
}

}  // namespace

void ChooseDesktop(const Arguments& arguments) {
  QRVOnWaiting([](const char* message, void*) { Tell(message); }, nullptr);
  if (!arguments.desktop.empty()) {
    setenv(kDesktopVariable, arguments.desktop.c_str(), 1);
  }
  if (!arguments.systemVersion.empty()) {
    setenv(kSystemVersionVariable, arguments.systemVersion.c_str(), 1);
  }
  const std::string version = Environment(kSystemVersionVariable);
  if (!version.empty() && !IsSystemVersion(version)) {
    throw Failure(kWrongUsage, std::string(kSystemVersionVariable) + " is \"" + version +
                                   "\". Unset it, or make it a version like 10.7.");
  }
}

bool IsSystemVersionChosen() { return !Environment(kSystemVersionVariable).empty(); }

Displays RequireDisplays() {
  Displays displays(kQRVMaxDisplayIndex);
  for (;;) {
    const int32_t capacity = static_cast<int32_t>(displays.size());
    const int32_t count = QRVListDisplays(displays.data(), sizeof(QRVDisplay), capacity);
    if (count < 0) {
      throw Failure(
          QRVFailure() == kQRVBadChoice ? kWrongUsage : kNothingCaptured,
          "There is no desktop to capture: " + std::string(QRVFailureMessage()) + ". " + Advice());
    }
    if (count == 0) {
      throw Failure(kNothingCaptured, "There is no display on " + DesktopName() + ".");
    }
    displays.resize(static_cast<size_t>(count));
    if (count <= capacity) return displays;
  }
}

int32_t ResolveDisplay(const Displays& displays, const std::string& name) {
  if (name == "main") return 0;
  const auto named = std::find_if(displays.begin(), displays.end(),
                                  [&](const auto& each) { return each.name == name; });
  const std::optional<int32_t> index =
      named == displays.end() ? ParseInteger(name)
                              : std::optional(static_cast<int32_t>(named - displays.begin()));
  if (!index || *index < 0) {
    if (name.starts_with(':')) {
      throw Failure(kWrongUsage,
                    "--display " + name + " is an X server: type --desktop x11:" + name + ".");
    }
    throw Failure(kWrongUsage, "--display " + name +
                                   " is neither an index, from 0, nor main, nor the name of a "
                                   "display. `qrvshot displays` lists the displays.");
  }
  const size_t usable = std::min(displays.size(), size_t{kQRVMaxDisplayIndex});
  const auto wanted = static_cast<size_t>(*index);
  if (wanted < usable) return *index;
  const std::string count = std::to_string(displays.size());
  const std::string valid = usable == 1 ? "only 0" : "0 to " + std::to_string(usable - 1);
  throw Failure(kNothingCaptured,
                (wanted < displays.size()
                     ? "Display " + name + " of " + count + " on " + DesktopName() +
                           " is beyond the first 32, which are all that can be captured"
                     : "There is no display " + name + " on " + DesktopName() + ", which has " +
                           count + (usable == 1 ? " display" : " displays")) +
                    ": try " + valid + " (see `qrvshot displays`).");
}

bool Meets(const QRVDisplay& display, const Rect& area) {
  const auto meet = [](int64_t start, int64_t length, int64_t otherStart, int64_t otherLength) {
    return start < otherStart + otherLength && otherStart < start + length;
  };
  return meet(display.x, display.width, area.left, area.width) &&
         meet(display.y, display.height, area.top, area.height);
}

void RequirePixels(const std::string& subject) {
  const std::string note = QRVCaptureNote();
  if (!note.empty()) Tell(note);
  const std::string problem = QRVFailureMessage();
  if (!problem.empty()) {
    throw Failure(kNothingCaptured,
                  "The capture of " + subject + " is not whole: " + problem + ". Try again.");
  }
}

}  // namespace qrv::cli
