// See word_language.h: names of locales by the shape of a language tag. All have the root's rules here.
#include <algorithm>
#include <string_view>

#include "word_language.h"

namespace wordbreaker {

namespace {

bool IsLetter(char one) { return (one >= 'a' && one <= 'z') || (one >= 'A' && one <= 'Z'); }
bool IsDigit(char one) { return one >= '0' && one <= '9'; }

// A language of two to eight letters, or x in front of private parts; then parts of one to eight letters and digits, where
// one of a single character is not the last.
bool HasShapeOfTag(std::string_view tag) {
  constexpr size_t kLongestPart = 8;
  bool first = true;
  bool single = false;
  for (size_t start = 0; start <= tag.size(); first = false) {
    const size_t end = std::min(tag.find('-', start), tag.size());
    const std::string_view part = tag.substr(start, end - start);
    const bool fits =
        std::all_of(part.begin(), part.end(), [first](char one) { return IsLetter(one) || (!first && IsDigit(one)); });
    if (part.empty() || part.size() > kLongestPart || !fits) return false;
    single = part.size() == 1;
    if (first && single && part != "x" && part != "X") return false;
    start = end + 1;
  }
  return !single;
}

}  // namespace

std::optional<std::string> LocaleOfName(const char* name) {
  constexpr size_t kLongestName = 157;
  std::string tag;
  for (; name != nullptr && *name != '\0'; ++name) {
    if (tag.size() == kLongestName) return std::nullopt;
    tag += *name == '_' ? '-' : *name;
  }
  return tag.empty() || HasShapeOfTag(tag) ? std::optional(std::string()) : std::nullopt;
}

}  // namespace wordbreaker
