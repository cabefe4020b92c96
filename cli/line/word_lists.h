// Lists of words in messages.
#ifndef CLI_LINE_WORD_LISTS_H_
#define CLI_LINE_WORD_LISTS_H_

#include <string>
#include <string_view>
#include <vector>

namespace qrv::cli {

// "png, jpg or ppm", with " or " as the last separator.
std::string JoinWords(const std::vector<std::string>& words, const char* last);

// "; did you mean WORD?" with the word that is spelled most like `typed`, "" when none is.
std::string DidYouMean(std::string_view typed, const std::vector<std::string>& words);

}  // namespace qrv::cli

#endif  // CLI_LINE_WORD_LISTS_H_
