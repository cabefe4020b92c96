#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "cli/failure.h"
#include "cli/help.h"
#include "cli/interpret_words.h"
#include "cli/nearest_word.h"
#include "cli/option_words.h"
#include "cli/terminal.h"

namespace qrv::cli {

namespace {

using Words = std::vector<std::string>;

void AddOption(CLI::App& app, const OptionText& text, OptionWords& words) {
  const std::string group = *text.group == '\0' ? "Options" : text.group;
  if (text.flag != nullptr) {
    app.add_flag(text.names, words.*text.flag, text.text)->group(group);
    return;
  }
  // The last one counts, so that an alias or a script can be overruled.
  app.add_option(text.names, words.*text.word, text.text)
      ->group(group)
      ->type_name(text.type)
      ->required(text.isRequired)
      ->take_last();
}

// A command that the line doesn't name is there for the help alone: options take long to define.
void AddCommand(CLI::App& app, const CommandText& text, const Words& line, OptionWords& words) {
  CLI::App* const command = app.add_subcommand(text.name, text.summary);
  command->get_help_ptr()->group("");
  if (std::find(line.begin(), line.end(), text.name) == line.end()) return;
  for (const OptionText& each : text.options) AddOption(*command, each, words);
}

// What every command has may stand before it too.
void AddCommonOptions(CLI::App& app, OptionWords& words) {
  for (const OptionText& each : Commands().back().options) {
    AddOption(app, each, words);
    app.get_option(each.names)->group("");
  }
}

const CLI::App* CommandOf(const CLI::App& app) {
  const std::vector<CLI::App*> commands = app.get_subcommands();
  return commands.empty() ? nullptr : commands.front();
}

// The option by the shorter name if the user wrote that.
std::string AsTyped(const CLI::Option& option, const Words& line) {
  const auto isTyped = [&](const std::string& name) {
    return std::any_of(line.begin(), line.end(),
                       [&](const std::string& word) { return word.starts_with("-" + name); });
  };
  const Words& names = option.get_snames();
  if (!names.empty() && isTyped(names.front())) return "-" + names.front();
  return option.get_positional() ? option.as<std::string>() : option.get_name();
}

// What was given, in the user's order.
std::vector<TypedOption> TypedOptions(const CLI::App& app, const Words& line) {
  std::vector<TypedOption> options;
  for (const CLI::App* each : {&app, CommandOf(app)}) {
    for (const CLI::Option* option : each->parse_order()) {
      options.push_back({option->get_positional() ? "FILE" : "--" + option->get_lnames().front(),
                         AsTyped(*option, line)});
    }
  }
  return options;
}

Words OptionNames(const CLI::App& app) {
  Words names;
  for (const CLI::Option* option : app.get_options(&CLI::Option::nonpositional)) {
    names.push_back("--" + option->get_lnames().front());
  }
  return names;
}

// Without a command, or with another word in its place.
std::string DescribeNoCommand(const Words& left) {
  Words names;
  std::string list;
  for (const CommandText& each : Commands()) {
    names.emplace_back(each.name);
    list += (list.empty() ? "" : &each == &Commands().back() ? " and " : ", ") + names.back();
  }
  if (left.empty()) return "No command is given; there are " + list;
  const std::string& word = left.front();
  if (word.starts_with('-')) {
    return "There is no option " + word + " before the command; did you mean `qrvshot capture " +
           word + "`?";
  }
  if (word.find_first_of("./") != std::string::npos) {
    return "There is no command " + word + "; did you mean `qrvshot capture " + word + "`?";
  }
  const std::string meant = DidYouMean(word, names);
  return "There is no command " + word + (meant.empty() ? "; there are " + list : meant);
}

// Says of a command line that could not be parsed what is wrong with it.
std::string Describe(const CLI::App& app, const CLI::ParseError& error, const Words& line) {
  const CLI::App* const command = CommandOf(app);
  const Words left = app.remaining(true);
  if (command == nullptr) return DescribeNoCommand(left);
  if (!left.empty() && !left.front().starts_with('-')) {
    return left.front() + " is one argument too many";
  }
  if (!left.empty()) {
    const std::string name = left.front().substr(0, left.front().find('='));
    return "qrvshot " + command->get_name() + " has no option " + name +
           DidYouMean(name, OptionNames(*command));
  }
  std::string reason = error.what();
  const std::string name = reason.substr(0, reason.find(':'));
  const bool lacksValue = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr;
  if (!lacksValue || !name.starts_with("--")) return reason;
  return AsTyped(*command->get_option(name), line) + " lacks its value";
}

// An empty value is mostly an unset variable of a script, never what was meant.
void RequireValues(const CLI::App& app, const Words& line) {
  for (const CLI::Option* option : app.get_options()) {
    const Words& values = option->results();
    if (std::find(values.begin(), values.end(), "") == values.end()) continue;
    if (option->check_lname("rect")) {
      throw UsageFault("--rect has an empty value, as of slop and slurp when they are cancelled");
    }
    throw UsageFault((option->get_positional() ? "The file name" : AsTyped(*option, line)) +
                     " has an empty value");
  }
}

// False when only help or the version is asked for, which has then been printed.
bool Parse(CLI::App& app, int argc, const char* const* argv, const Words& line) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) throw UsageFault(Describe(app, error, line));
    app.exit(error);
    return false;
  }
  RequireValues(app, line);
  RequireValues(*CommandOf(app), line);
  return true;
}

// The command whose help has the options that were used.
std::string HelpCommand(const CLI::App& app) {
  const CLI::App* const command = CommandOf(app);
  return "qrvshot " + (command == nullptr ? "" : command->get_name() + " ") + "--help";
}

// The fault as a sentence.
std::string Sentence(const std::string& fault) {
  return fault.ends_with('?') ? fault : fault + ".";
}

}  // namespace

std::optional<Arguments> ParseArguments(int argc, const char* const* argv) {
  const Words line(argv, argv + argc);
  Arguments arguments;
  OptionWords words;
  CLI::App app(kSummary, "qrvshot");
  app.formatter(std::make_shared<HelpFormatter>());
  app.get_formatter()->label("Positionals", "File");
  app.set_version_flag("--version", "qrvshot " QRV_VERSION, "The version");
  app.set_help_flag("-h,--help", "This help");
  app.require_subcommand(1);
  app.fallthrough();
  AddCommonOptions(app, words);
  for (const CommandText& each : Commands()) AddCommand(app, each, line, words);
  try {
    if (!Parse(app, argc, argv, line)) return std::nullopt;
    for (const CommandText& each : Commands()) {
      if (CommandOf(app)->get_name() == each.name) arguments.command = each.command;
    }
    InterpretWords(words, TypedOptions(app, line), arguments);
  } catch (const UsageFault& fault) {
    throw Failure(kWrongUsage, Sentence(fault.what()) + " Try `" + HelpCommand(app) + "`.");
  }
  if (words.quiet) BeQuiet();
  return arguments;
}

}  // namespace qrv::cli
