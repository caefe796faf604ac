// How many columns a character takes: most take one, those of East Asia two, marks none.
#ifndef XKRDB_TOOL_CHARACTER_WIDTH_H
#define XKRDB_TOOL_CHARACTER_WIDTH_H

#include <cstddef>

namespace xkrdb {

size_t CharacterWidth(char32_t character);

}  // namespace xkrdb

#endif
