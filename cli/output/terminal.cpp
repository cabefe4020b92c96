#include "cli/output/terminal.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string_view>
#include <thread>

#include "platform/one_line.h"

namespace qrv::cli {

namespace {

bool isQuiet = false;

bool WantsColor() {
  const char* const refused = getenv("NO_COLOR");
  const char* const terminal = getenv("TERM");
  return (refused == nullptr || *refused == '\0') && terminal != nullptr &&
         std::string_view(terminal) != "dumb";
}

}  // namespace

bool IsTerminal(FILE* stream) { return isatty(fileno(stream)) != 0; }

std::string Emphasised(FILE* stream, Emphasis emphasis, const std::string& text) {
  if (!IsTerminal(stream) || !WantsColor()) return text;
  return (emphasis == Emphasis::kBold ? "\033[1m" : "\033[1;31m") + text + "\033[0m";
}

std::string Printable(const std::string& text) { return InOneLine(text, std::string::npos); }

void PrintLine(FILE* stream, const std::string& line) {
  fprintf(stream, "%s\n", Printable(line).c_str());
}

void PrintLine(FILE* stream, Emphasis emphasis, const std::string& start, const std::string& rest) {
  fputs(Emphasised(stream, emphasis, Printable(start)).c_str(), stream);
  PrintLine(stream, rest);
}

void BeQuiet() { isQuiet = true; }

bool IsQuiet() { return isQuiet; }

void Wait(double seconds) {
  const bool isShown = IsTerminal(stderr) && !isQuiet;
  while (seconds > 0) {
    if (isShown) fprintf(stderr, "\r\033[KCapturing in %.0f ...", std::ceil(seconds));
    // The first step is what is over whole seconds.
    const double step = seconds - (std::ceil(seconds) - 1);
    std::this_thread::sleep_for(std::chrono::duration<double>(step));
    seconds -= step;
  }
  if (isShown) fputs("\r\033[K", stderr);
}

}  // namespace qrv::cli
