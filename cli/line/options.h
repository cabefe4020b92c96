// The table of commands and the table of options, which parsing, help, the manual page and the
// shells' completions read.
#ifndef CLI_LINE_OPTIONS_H_
#define CLI_LINE_OPTIONS_H_

#include <span>
#include <string>
#include <vector>

#include "cli/arguments.h"

namespace qrv::cli {

struct CommandEntry {
  const char* name;  // empty for the program without a command
  const char* summary;
  unsigned bit;  // of Option::commands
  Command command;
  const char* examples;  // indented lines
  const char* notes;     // paragraphs behind the options

  // "qrvshot raw"
  std::string Call() const { return *name == '\0' ? "qrvshot" : std::string("qrvshot ") + name; }
};

// What an option asks of the others, by their names.
struct Rules {
  bool isRequired = false;
  const char* excludes = "";  // the options that can't stand beside it, separated by spaces
  const char* needs = "";     // the option without which it has no effect
};

struct Option {
  const char* group;  // the heading in help; options of one heading follow one another
  unsigned commands;  // that have it, as bits
  char letter;        // of the short form; 0 without one
  std::string name;   // "--output"; kFile for a file that is named without an option
  std::string value;  // as help calls it; empty for a flag
  std::string text;   // empty where the text of another option says it
  // Stores a value. Returns what it should have been, empty when it is that. Null for help and
  // version.
  std::string (*read)(const std::string& value, Arguments& arguments);
  Rules rules = {};
  std::vector<std::string> (*choices)() = nullptr;  // values, for completion

  bool IsFile() const { return !name.starts_with('-'); }
};

inline constexpr char kFile[] = "FILE";
inline constexpr char kProgramOptions[] = "Options";  // the group of help and version
inline constexpr char kTesting[] = "The plug-in and its host, for people who test them";

extern const CommandEntry kProgram;

// All are in the order of help. An option that commands explain differently is there for each.
std::span<const CommandEntry> Commands();
const std::vector<Option>& Options();

// Those that a command has; of the program, those that all commands have.
std::vector<const Option*> OptionsOf(const CommandEntry& command);

}  // namespace qrv::cli

#endif  // CLI_LINE_OPTIONS_H_
