#include "file_pattern.h"

namespace file_pattern {
namespace {

size_t UnitsOfCharacter(std::u16string_view name, size_t at) {
  const bool pair = name[at] >= 0xD800 && name[at] <= 0xDBFF && at + 1 < name.size() && name[at + 1] >= 0xDC00 &&
                    name[at + 1] <= 0xDFFF;
  return pair ? 2 : 1;
}

}  // namespace

// Walks both once and remembers the last *: what follows it is tried again one character later whenever it fails. That
// is enough, since an earlier * could take nothing that the last one cannot.
bool Matches(std::u16string_view pattern, std::u16string_view name) {
  size_t in_pattern = 0;
  size_t in_name = 0;
  size_t after_star = std::u16string_view::npos;
  size_t star_ends = 0;
  while (in_name < name.size()) {
    if (in_pattern < pattern.size() && pattern[in_pattern] == u'*') {
      after_star = ++in_pattern;
      star_ends = in_name;
    } else if (in_pattern < pattern.size() && pattern[in_pattern] == u'?') {
      ++in_pattern;
      in_name += UnitsOfCharacter(name, in_name);
    } else if (in_pattern < pattern.size() && pattern[in_pattern] == name[in_name]) {
      ++in_pattern;
      ++in_name;
    } else if (after_star != std::u16string_view::npos) {
      star_ends += UnitsOfCharacter(name, star_ends);
      in_pattern = after_star;
      in_name = star_ends;
    } else {
      return false;
    }
  }
  while (in_pattern < pattern.size() && pattern[in_pattern] == u'*') ++in_pattern;
  return in_pattern == pattern.size();
}

}  // namespace file_pattern
