// Text of another process, fit for a person to read in one line.
#ifndef PLATFORM_DESKTOP_PEER_ONE_LINE_H_
#define PLATFORM_DESKTOP_PEER_ONE_LINE_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace qrv::desktop {

struct Character {
  char32_t code = 0;
  size_t bytes = 0;  // 0 when it is none
};

// The character of UTF-8 that the text, which is not empty, starts with.
Character FirstOf(std::string_view text);

inline constexpr size_t kMostText = 120;  // bytes

// Its start, in whole characters of UTF-8: with a blank for each control character, a question mark
// for each byte that is part of no character, and without characters that are invisible or turn the
// direction of the text around them.
std::string InOneLine(std::string_view text, size_t mostBytes = kMostText);

// Copies text with a final zero, cut at the end of a character where it is too long.
template <size_t kBytes>
void CopyText(char (&to)[kBytes], std::string_view text) {
  size_t end = text.size();
  if (end >= kBytes) {
    end = kBytes - 1;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  }
  to[text.copy(to, end)] = '\0';
}

}  // namespace qrv::desktop

#endif  // PLATFORM_DESKTOP_PEER_ONE_LINE_H_
