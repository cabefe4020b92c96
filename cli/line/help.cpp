#include "cli/line/help.h"

#include <sstream>
#include <string_view>

#include "cli/output/terminal.h"

namespace qrv::cli {

namespace {

constexpr size_t kWidth = 80;
constexpr size_t kColumn = 24;  // where explanations begin

std::string Heading(const std::string& text) { return Emphasised(stdout, Emphasis::kBold, text); }

// Breaks each line of the text to the width, behind an indentation that the first one has already.
std::string Wrap(const std::string& text, size_t indentation) {
  std::istringstream lines(text);
  std::string wrapped;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    size_t column = indentation;
    for (std::string word; words >> word; column += word.size()) {
      if (column > indentation && column + 1 + word.size() > kWidth) {
        wrapped += "\n" + std::string(indentation, ' ');
        column = indentation;
      }
      if (column > indentation) ++column, wrapped += ' ';
      wrapped += word;
    }
    wrapped += '\n';
  }
  return wrapped;
}

// A name and its explanation beside it, or below where it is too long.
std::string Entry(const std::string& name, const std::string& text) {
  std::string line = "  " + name;
  line += line.size() + 2 > kColumn ? "\n" + std::string(kColumn, ' ')
                                    : std::string(kColumn - line.size(), ' ');
  return line + Wrap(text, kColumn);
}

std::string CommandList() {
  std::string list = "\n" + Heading("Commands:") + "\n";
  for (const CommandEntry& each : Commands()) list += Entry(each.name, each.summary);
  return list;
}

// By heading. All commands have help and version, which only the program's help explains.
std::string OptionList(const CommandEntry& command) {
  std::string list;
  std::string_view group;
  for (const Option* option : OptionsOf(command)) {
    if ((option->group == std::string_view(kProgramOptions)) != (&command == &kProgram)) continue;
    if (group != option->group) {
      group = option->group;
      list += "\n" + Heading(std::string(group) + ":") + "\n";
    }
    const std::string letter = {'-', option->letter, ',', ' '};
    std::string name = (option->letter == 0 ? "" : letter) + option->name;
    if (!option->value.empty() && !option->IsFile()) name += " " + option->value;
    list += Entry(name, option->text);
  }
  return list;
}

std::string Usage(const CommandEntry& command) {
  if (&command == &kProgram) return "qrvshot COMMAND [OPTIONS]";
  std::string usage = command.Call() + " [OPTIONS]";
  for (const Option* option : OptionsOf(command)) {
    if (option->IsFile()) usage += option->rules.isRequired ? " FILE" : " [FILE]";
  }
  return usage;
}

}  // namespace

std::string Help(const CommandEntry& command) {
  const std::string notes = *command.notes == '\0' ? "" : "\n" + Wrap(command.notes, 0);
  return Heading(Usage(command)) + "\n" + command.summary + ".\n\n" + command.examples +
         (&command == &kProgram ? CommandList() : "") + OptionList(command) + notes;
}

}  // namespace qrv::cli
