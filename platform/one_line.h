// Text from other processes, as one printable line.
#ifndef PLATFORM_ONE_LINE_H_
#define PLATFORM_ONE_LINE_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace qrv {

struct Character {
  char32_t code = 0;
  size_t bytes = 0;  // 0 when it is none
};

// The first character of UTF-8 text, which is not empty.
Character FirstOf(std::string_view text);

inline constexpr size_t kMaxLineBytes = 120;

// The start of the text, in whole characters of UTF-8. A control character becomes a blank, and a
// byte that is part of no character a question mark. Invisible characters, and those that change
// the direction of the text around them, are left out.
std::string InOneLine(std::string_view text, size_t maxBytes = kMaxLineBytes);

// Copies text with a terminating zero, truncated at the end of a character where it is too long.
template <size_t kBytes>
void CopyText(char (&to)[kBytes], std::string_view text) {
  size_t end = text.size();
  if (end >= kBytes) {
    end = kBytes - 1;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  }
  to[text.copy(to, end)] = '\0';
}

}  // namespace qrv

#endif  // PLATFORM_ONE_LINE_H_
