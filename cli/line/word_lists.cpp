#include "cli/line/word_lists.h"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace qrv::cli {

namespace {

// How many letters to add, drop or change to turn one word into the other.
size_t Distance(std::string_view one, std::string_view other) {
  std::vector<size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < one.size(); ++i) {
    size_t diagonal = row[0]++;
    for (size_t j = 0; j < other.size(); ++j) {
      const size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string JoinWords(const std::vector<std::string>& words, const char* last) {
  std::string joined;
  for (const std::string& each : words) {
    joined += (joined.empty() ? "" : &each == &words.back() ? last : ", ") + each;
  }
  return joined;
}

std::string DidYouMean(std::string_view typed, const std::vector<std::string>& words) {
  const std::string* nearest = nullptr;
  const auto dashes = static_cast<size_t>(std::ranges::count(typed, '-'));
  size_t least = std::min<size_t>(3, (typed.size() - dashes) / 3 + 1);  // letters; more is no slip
  for (const std::string& word : words) {
    const bool isBegun = typed.size() > 2 && word.starts_with(typed);
    const size_t distance = isBegun ? 0 : Distance(typed, word);
    if (distance < least) {
      least = distance;
      nearest = &word;
    }
  }
  return nearest == nullptr ? "" : "; did you mean " + *nearest + "?";
}

}  // namespace qrv::cli
