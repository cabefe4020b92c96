// The options as they are written and explained, and the words that a user gave for them.
#ifndef CLI_OPTION_WORDS_H_
#define CLI_OPTION_WORDS_H_

#include <span>
#include <string>
#include <vector>

#include "cli/arguments.h"

namespace qrv::cli {

// Values as they stand on the command line, to be turned into Arguments.
struct OptionWords {
  std::string display, rect, size, scale, delay, count, interval;
  std::string output, file, format, quality, compression;
  std::string desktop, strategy, plugin, application, hostVersion, systemVersion;
  std::string width, height, rowBytes, input;
  bool units = false, copy = false, json = false, quiet = false, alpha = false;
};

// An option of some commands: with a word for its value, or a flag.
struct OptionText {
  const char* group;  // the heading in help; empty for what stands on its own
  const char* names;
  const char* type;
  std::string text;
  std::string OptionWords::*word = nullptr;
  bool OptionWords::*flag = nullptr;
  bool isRequired = false;
};

struct CommandText {
  const char* name;
  const char* summary;
  Command command;
  std::vector<OptionText> options;
  const char* examples;  // indented lines
  const char* notes;     // paragraphs behind the options
};

// Of the whole program.
extern const char kSummary[];
extern const char kExamples[];
extern const char kNotes[];

// In the order of help.
const std::vector<CommandText>& Commands();

}  // namespace qrv::cli

#endif  // CLI_OPTION_WORDS_H_
