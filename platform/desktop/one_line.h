// Words of another process, fit to be told in one line.
#ifndef PLATFORM_DESKTOP_ONE_LINE_H_
#define PLATFORM_DESKTOP_ONE_LINE_H_

#include <algorithm>
#include <cstddef>
#include <string>

namespace qrv::desktop {

// Their start, with a blank for each control character.
inline std::string InOneLine(std::string words) {
  constexpr size_t kMostWords = 120;  // bytes
  words.resize(std::min(words.size(), kMostWords));
  std::replace_if(
      words.begin(), words.end(), [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
  return words;
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_ONE_LINE_H_
