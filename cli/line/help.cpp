#include "cli/line/help.h"

#include <sstream>
#include <string_view>
#include <utility>

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

// "-o, --output FILE"
std::string NameOf(const Option& option) {
  const std::string letter = {'-', option.letter, ',', ' '};
  std::string name = (option.letter == 0 ? "" : letter) + option.name;
  if (!option.value.empty() && !option.IsFile()) name += " " + option.value;
  return name;
}

// Those of one heading that it has, without one those for everybody, by heading.
std::string OptionList(const CommandEntry& command, std::string_view wanted = {}) {
  std::string list;
  std::string_view group;
  for (const Option* option : OptionsOf(command)) {
    const std::string_view each = option->group;
    const bool isOfOnePage = each == kProgramOptions || each == kTesting;
    if (option->text.empty() || (isOfOnePage ? each != wanted : !wanted.empty())) continue;
    if (std::exchange(group, each) != each) list += Heading(std::string(each) + ":") + "\n";
    list += Entry(NameOf(*option), option->text);
  }
  return list;
}

std::string Usage(const CommandEntry& command) {
  if (&command == &kProgram) return "qrvshot [COMMAND] [OPTIONS] [FILE]";
  std::string usage = command.Call() + " [OPTIONS]";
  for (const Option* option : OptionsOf(command)) {
    if (option->IsFile()) usage += option->rules.isRequired ? " FILE" : " [FILE]";
  }
  return usage;
}

}  // namespace

std::string Help(const CommandEntry& command) {
  const std::string notes = *command.notes == '\0' ? "" : "\n" + Wrap(command.notes, 0);
  const std::string options = &command == &kProgram
                                  ? CommandList() + "\n" + OptionList(command, kProgramOptions)
                                  : (OptionList(command).empty() ? "" : "\n" + OptionList(command));
  return Heading(Usage(command)) + "\n" + command.summary + ".\n\n" + command.examples + options +
         notes;
}

std::string TestingHelp(const CommandEntry& command) {
  return Heading(Usage(command)) + "\n" + command.summary + ".\n\n" + OptionList(command, kTesting);
}

}  // namespace qrv::cli
