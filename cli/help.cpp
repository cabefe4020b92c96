#include "cli/help.h"

#include <algorithm>
#include <sstream>

#include "cli/option_words.h"
#include "cli/terminal.h"

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
    for (std::string word; words >> word;) {
      const bool isFirst = column == indentation;
      if (!isFirst && column + 1 + word.size() > kWidth) {
        wrapped += "\n" + std::string(indentation, ' ');
        column = indentation;
      } else if (!isFirst) {
        wrapped += ' ';
        ++column;
      }
      wrapped += word;
      column += word.size();
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

struct Page {
  std::string usage;
  std::string summary;
  const char* examples;
  const char* notes;
};

Page PageOf(const CLI::App* app) {
  for (const CommandText& each : Commands()) {
    if (app->get_name() != each.name) continue;
    std::string usage = std::string(each.name) + " [OPTIONS]";
    for (const CLI::Option* file : app->get_options(&CLI::Option::get_positional)) {
      usage += file->get_required() ? " FILE" : " [FILE]";
    }
    return {usage, std::string(each.summary) + ".", each.examples, each.notes};
  }
  return {"COMMAND [OPTIONS]", kSummary, kExamples, kNotes};
}

}  // namespace

std::string HelpFormatter::make_help(const CLI::App* app, std::string /*name*/,
                                     CLI::AppFormatMode mode) const {
  const Page page = PageOf(app);
  const std::string notes = Wrap(page.notes, 0);
  const std::string options = make_positionals(app) + make_groups(app, mode);
  return Heading("qrvshot " + page.usage) + "\n" + page.summary + "\n\n" + page.examples +
         make_subcommands(app, mode) + CLI::detail::find_and_replace(options, "\n\n\n", "\n\n") +
         (notes.empty() ? "" : "\n" + notes);
}

std::string HelpFormatter::make_group(std::string group, bool isPositional,
                                      std::vector<const CLI::Option*> options) const {
  std::string text = "\n" + Heading(group + ":") + "\n";
  for (const CLI::Option* option : options) text += make_option(option, isPositional);
  return text;
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  std::string name = option->get_name(isPositional, true);
  const size_t comma = name.find(',');
  if (comma != std::string::npos) name.insert(comma + 1, " ");
  if (!isPositional && option->get_type_size() != 0) name += " " + option->get_type_name();
  return Entry(name, option->get_description());
}

std::string HelpFormatter::make_subcommands(const CLI::App* app,
                                            CLI::AppFormatMode /*mode*/) const {
  std::string text;
  for (const CLI::App* each : app->get_subcommands({})) {
    text += Entry(each->get_name(), each->get_description());
  }
  return text.empty() ? text : "\n" + Heading("Commands:") + "\n" + text;
}

}  // namespace qrv::cli
