// From the words of the command line to what they mean.
#ifndef CLI_INTERPRET_WORDS_H_
#define CLI_INTERPRET_WORDS_H_

#include <stdexcept>
#include <string>
#include <vector>

#include "cli/arguments.h"
#include "cli/option_words.h"

namespace qrv::cli {

// What is wrong with the command line.
class UsageFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An option that the user gave, as it is called here and as it was typed.
struct TypedOption {
  std::string name;  // --output; FILE for a file name without an option
  std::string typed;
};

// Fills the command's arguments. `options` are in the user's order. Throws UsageFault.
void InterpretWords(const OptionWords& words, const std::vector<TypedOption>& options,
                    Arguments& arguments);

}  // namespace qrv::cli

#endif  // CLI_INTERPRET_WORDS_H_
