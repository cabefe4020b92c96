#include "platform/one_line.h"

#include <algorithm>
#include <bit>

namespace qrv {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};
constexpr Range kBlanks[] = {{0, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x2029}};
// Marks of direction, joiners and other format characters.
constexpr Range kInvisible[] = {{0xAD, 0xAD},     {0x61C, 0x61C},    {0x200B, 0x200F},
                                {0x202A, 0x202E}, {0x2060, 0x206F},  {0xFEFF, 0xFEFF},
                                {0xFFF9, 0xFFFB}, {0xE0000, 0xE007F}};

template <size_t kCount>
bool IsIn(const Range (&ranges)[kCount], char32_t code) {
  return std::any_of(ranges, ranges + kCount,
                     [code](const Range& each) { return each.first <= code && code <= each.last; });
}

}  // namespace

Character FirstOf(std::string_view text) {
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};  // of that many bytes
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, 1};
  const auto bytes = static_cast<size_t>(std::countl_one(lead));
  if (bytes < 2 || bytes > 4 || bytes > text.size()) return {};
  char32_t code = lead & (0x7FU >> bytes);
  for (size_t i = 1; i < bytes; ++i) {
    const auto next = static_cast<unsigned char>(text[i]);
    if ((next & 0xC0) != 0x80) return {};
    code = code << 6 | (next & 0x3FU);
  }
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < kSmallest[bytes] || code > 0x10FFFF || isSurrogate) return {};
  return {code, bytes};
}

std::string InOneLine(std::string_view text, size_t maxBytes) {
  std::string line;
  while (!text.empty()) {
    const Character next = FirstOf(text);
    std::string_view shown = text.substr(0, next.bytes);
    if (next.bytes == 0) {
      shown = "?";
    } else if (IsIn(kBlanks, next.code)) {
      shown = " ";
    } else if (IsIn(kInvisible, next.code)) {
      shown = "";
    }
    if (line.size() + shown.size() > maxBytes) break;
    line += shown;
    text.remove_prefix(std::max<size_t>(next.bytes, 1));
  }
  return line;
}

}  // namespace qrv
