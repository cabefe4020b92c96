#include "cli/commands/select.h"

#include <stdio.h>

#include <string>

#include "cli/failure.h"

namespace qrv::cli {

namespace {

constexpr DesktopProgram kPrograms[] = {{"slurp", "slurp", "WAYLAND_DISPLAY", {}},
                                        {"slop", "slop", "DISPLAY", {}}};
constexpr Purpose kMarking = {"There is no mouse to mark with", "marks a rectangle",
                              "give the rectangle with -g X,Y,W,H"};

}  // namespace

const DesktopProgram& FindSelectProgram() { return FindProgram(kPrograms, kMarking); }

Rect SelectRect(const DesktopProgram& program) {
  std::string answer;
  int status = -1;
  if (FILE* const output = popen(program.name, "re")) {
    char line[256];
    if (fgets(line, sizeof line, output) != nullptr) answer = line;
    status = pclose(output);
  }
  answer.erase(std::min(answer.find('\n'), answer.size()));
  std::optional<Rect> rect;
  if (status == 0 && ReadRect(answer, rect).empty()) return *rect;
  throw Failure(kNothingCaptured,
                "Nothing was marked: " + std::string(program.name) +
                    (status != 0 ? " was cancelled or failed" : " answered \"" + answer + "\"") +
                    ". Mark again, or " + kMarking.instead + ".");
}

}  // namespace qrv::cli
