#include "platform/one_line.h"

#include <gtest/gtest.h>

namespace qrv {
namespace {

TEST(OneLine, IsWhatAPersonCanReadOfATextOfAnyBytes) {
  const std::string umlauts(200, '\xC3');
  const std::pair<std::string, std::string> cases[] = {
      {"", ""},
      {"Öl für 5 €, 😀", "Öl für 5 €, 😀"},
      {"a\tb\nc\x1B[31m\x7F", "a b c [31m "},
      {std::string("a\0b", 3), "a b"},
      {"a\xC2\x85"
       "b\xC2\x9B"
       "31m\xE2\x80\xA8"
       "c",
       "a b 31m c"},                                             // C1 and a line separator
      {"fdp.\xE2\x80\xAEgnp\xE2\x81\xA6\xD8\x9C.", "fdp.gnp."},  // overrides and marks of direction
      {"a\x80\xFF"
       "b\xC3",
       "a??b?"},
      {"\xC0\xAF\xE0\x80\xAF\xED\xA0\x80\xF4\x90\x80\x80\xF8", "?????????????"},  // not UTF-8
      {std::string(119, 'a') + "€", std::string(119, 'a')},
      {std::string(117, 'a') + "€€", std::string(117, 'a') + "€"},
      {umlauts, std::string(120, '?')}};
  for (const auto& [text, line] : cases) EXPECT_EQ(InOneLine(text), line) << text;
}

TEST(OneLine, IsCutBetweenCharactersWhereThePlaceIsSmall) {
  char place[6];
  for (const auto& [text, kept] :
       std::initializer_list<std::pair<const char*, const char*>>{{"", ""},
                                                                  {"12345", "12345"},
                                                                  {"123456", "12345"},
                                                                  {"1234ä", "1234"},
                                                                  {"123äb", "123ä"}}) {
    CopyText(place, text);
    EXPECT_STREQ(place, kept);
  }
}

}  // namespace
}  // namespace qrv
