#include "cli/desktop_choice.h"

#include <stdlib.h>

#include <string_view>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

constexpr char kDesktopVariable[] = "QRV_DESKTOP";
constexpr char kSystemVersionVariable[] = "QRV_SYSTEM_VERSION";

std::string Environment(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

std::string DesktopWords() { return Environment(kDesktopVariable); }

bool IsVirtual(std::string_view words) {
  return words == "virtual" || words.starts_with("virtual:");
}

bool IsX11(std::string_view words) {
  return words.empty() || words == "x11" || words.starts_with("x11:");
}

// The X display's name: stated in the choice, else the one of the environment.
std::string XDisplay(const std::string& words) {
  constexpr std::string_view kPrefix = "x11:";
  return words.starts_with(kPrefix) ? words.substr(kPrefix.size()) : Environment("DISPLAY");
}

std::string WhyNoDesktop() {
  const std::string words = DesktopWords();
  if (IsVirtual(words)) {
    return "The layout of the virtual desktop \"" + words +
           "\" is wrong: " + runtime::DesktopProblem() +
           ". Write it like virtual:1440x900+0+0,1280x1024+1440+0.";
  }
  if (!IsX11(words)) {
    return "There is no desktop \"" + words +
           "\". Use x11, x11:DISPLAY, virtual or virtual:LAYOUT.";
  }
  if (words == "x11:") {
    return "The desktop \"x11:\" names no X display. Write it like x11::0.";
  }
  if (XDisplay(words).empty()) {
    return "There is no desktop to capture: DISPLAY is not set. Set it, or try --desktop virtual.";
  }
  return "There is no desktop to capture: " + runtime::DesktopProblem() +
         ". Check that the X server runs and that you may connect to it, or name another one with "
         "--desktop x11:DISPLAY.";
}

}  // namespace

void ChooseDesktop(const Arguments& arguments) {
  if (!arguments.desktop.empty()) {
    setenv(kDesktopVariable, arguments.desktop.c_str(), 1);
  }
  if (!arguments.systemVersion.empty()) {
    setenv(kSystemVersionVariable, arguments.systemVersion.c_str(), 1);
  }
}

bool IsSystemVersionChosen() { return getenv(kSystemVersionVariable) != nullptr; }

std::string DesktopName() {
  const std::string words = DesktopWords();
  return IsVirtual(words) ? "the virtual desktop" : "X11 " + XDisplay(words);
}

std::vector<runtime::DisplayInfo> RequireDisplays() {
  const auto displays = runtime::ListDisplays();
  if (!displays) {
    throw Failure(kNothingCaptured, WhyNoDesktop());
  }
  if (displays->empty()) {
    throw Failure(kNothingCaptured, "There is no display on " + DesktopName() + ".");
  }
  return *displays;
}

void RequireDisplay(const std::vector<runtime::DisplayInfo>& displays,
                    std::optional<int32_t> index) {
  const int32_t wanted = index.value_or(0);
  const size_t count = displays.size();
  if (wanted < 0 || static_cast<size_t>(wanted) >= count) {
    const std::string valid = count == 1 ? "only index 0" : "0 to " + std::to_string(count - 1);
    throw Failure(kNothingCaptured, "There is no display " + std::to_string(wanted) + " on " +
                                        DesktopName() + ", which has " + std::to_string(count) +
                                        (count == 1 ? " display" : " displays") + ": try " + valid +
                                        " (see `qrvshot displays`).");
  }
}

void RequirePixels(const std::string& subject) {
  const std::string problem = runtime::DesktopProblem();
  if (!problem.empty()) {
    throw Failure(kNothingCaptured,
                  "The capture of " + subject + " is not whole: " + problem + ". Try again.");
  }
}

}  // namespace qrv::cli
