#include "cli/desktop_choice.h"

#include <stdio.h>
#include <stdlib.h>

#include "cli/failure.h"
#include "cli/parse_values.h"

namespace qrv::cli {

namespace {

constexpr char kDesktopVariable[] = "QRV_DESKTOP";
constexpr char kSystemVersionVariable[] = "QRV_SYSTEM_VERSION";

std::string Environment(const char* name) {
  const char* value = getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

void ChooseDesktop(const Arguments& arguments) {
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

std::vector<runtime::DisplayInfo> RequireDisplays() {
  const auto displays = runtime::ListDisplays();
  if (!displays) {
    throw Failure(kNothingCaptured, "There is no desktop to capture: " + runtime::DesktopProblem() +
                                        ". " + runtime::DesktopAdvice());
  }
  if (displays->empty()) {
    throw Failure(kNothingCaptured, "There is no display on " + runtime::DesktopName() + ".");
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
                                        runtime::DesktopName() + ", which has " +
                                        std::to_string(count) +
                                        (count == 1 ? " display" : " displays") + ": try " + valid +
                                        " (see `qrvshot displays`).");
  }
}

void RequirePixels(const std::string& subject) {
  const std::string note = runtime::DesktopNote();
  if (!note.empty()) {
    fprintf(stderr, "qrvshot: %s\n", note.c_str());
  }
  const std::string problem = runtime::DesktopProblem();
  if (!problem.empty()) {
    throw Failure(kNothingCaptured,
                  "The capture of " + subject + " is not whole: " + problem + ". Try again.");
  }
}

}  // namespace qrv::cli
