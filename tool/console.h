// The two streams that the program writes to, as the system has them.
#ifndef XKRDB_TOOL_CONSOLE_H
#define XKRDB_TOOL_CONSOLE_H

#include <cstddef>
#include <string_view>

namespace xkrdb {

enum class Stream { kOutput, kMessages };

bool IsTerminal(Stream stream);

// Columns of the terminal on standard output; 0 when it does not know.
size_t TerminalColumns();

// To standard output, whole. 0, or the error; a reader that went away is none.
int WriteToOutput(std::string_view text);

}  // namespace xkrdb

#endif
