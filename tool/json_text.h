// JSON as the tool writes it: text only, no control character in it, members in the order given.
#ifndef XKRDB_TOOL_JSON_TEXT_H
#define XKRDB_TOOL_JSON_TEXT_H

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace xkrdb {

using Json = nlohmann::ordered_json;

// One value on one line. Characters that act on a terminal are written as \u escapes, which stand for the same text.
std::string JsonLine(const Json& value);
// The same over several lines.
std::string JsonPage(const Json& value);

}  // namespace xkrdb

#endif
