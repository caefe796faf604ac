// Matches a file name against a pattern in which * stands for any characters, also none, and ? for one.
#pragma once

#include <string_view>

namespace file_pattern {

// Letters match in their own case only, as the file system's names do. A surrogate pair is one character.
bool Matches(std::u16string_view pattern, std::u16string_view name);

}  // namespace file_pattern
