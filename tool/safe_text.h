// Text that may be shown. A value comes from a file that anyone may have written; on a terminal a control character in
// it could move the cursor, recolour the screen or reorder what is read. Whatever a person is shown goes through here.
#ifndef XKRDB_TOOL_SAFE_TEXT_H
#define XKRDB_TOOL_SAFE_TEXT_H

#include <string>
#include <string_view>

namespace xkrdb {

// True for the characters that act on a terminal instead of showing: C0, DEL, C1, the bidirectional controls, the line
// and paragraph separators and the byte order mark.
bool IsUnsafe(char32_t value);

// Escapes unsafe characters as \n, \t, \r or \u001b; bytes that are not UTF-8 as \xff; half surrogates as \ud800.
std::string SafeText(std::string_view text);
std::string SafeText(std::u16string_view text);

// A value as messages quote it: safe, in quotes, cut after 40 characters.
std::string Quoted(std::string_view text);
std::string Quoted(std::u16string_view text);

// Columns that a safe text takes on a terminal, and its beginning that takes at most columns, with an ellipsis in the
// last one when something was cut.
size_t DisplayWidth(std::string_view safe_text);
std::string CutToWidth(std::string_view safe_text, size_t columns);

}  // namespace xkrdb

#endif
