// Text of the system's: its own 16-bit text, and what it calls its errors.
#ifndef XKRDB_TOOL_SYSTEM_TEXT_H
#define XKRDB_TOOL_SYSTEM_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace xkrdb {

// UTF-8 as the system's calls take it. What is not UTF-8 has no counterpart and gives the empty text.
std::wstring WideArgument(std::string_view text);
std::string NarrowArgument(std::wstring_view text);

// As the C library names the nearest of its errors, so that messages are those of other systems.
std::string SystemMessage(uint32_t error);

}  // namespace xkrdb

#endif
