// What a user may have meant.
#ifndef CLI_NEAREST_WORD_H_
#define CLI_NEAREST_WORD_H_

#include <string>
#include <string_view>
#include <vector>

namespace qrv::cli {

// "; did you mean WORD?" with the word that is spelled most like `typed`, "" when none is.
std::string DidYouMean(std::string_view typed, const std::vector<std::string>& words);

}  // namespace qrv::cli

#endif  // CLI_NEAREST_WORD_H_
