// Help on the program and its commands.
#ifndef CLI_HELP_H_
#define CLI_HELP_H_

#include <CLI/CLI.hpp>
#include <string>

namespace qrv::cli {

// For 80 columns: what it does, examples, options by heading, notes.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name,
                        CLI::AppFormatMode mode) const override;
  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override;
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override;
};

}  // namespace qrv::cli

#endif  // CLI_HELP_H_
