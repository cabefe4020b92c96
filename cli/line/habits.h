// What other screenshot programs call the things that this one has under other names.
#ifndef CLI_LINE_HABITS_H_
#define CLI_LINE_HABITS_H_

#include <string_view>

namespace qrv::cli {

// What to type for an option of another program, "-w" or "--window"; empty for an unknown one.
std::string_view AdviceForHabit(std::string_view option);

}  // namespace qrv::cli

#endif  // CLI_LINE_HABITS_H_
