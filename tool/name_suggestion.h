// The name that a mistyped one was probably meant to be.
#ifndef XKRDB_TOOL_NAME_SUGGESTION_H
#define XKRDB_TOOL_NAME_SUGGESTION_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace xkrdb {

// The nearest of names by insertions, deletions, replacements and swaps, upper and lower case alike; nothing when even
// that one is too far away to have been meant.
std::optional<std::string> NearestName(std::string_view typed, const std::vector<std::string>& names);

}  // namespace xkrdb

#endif
