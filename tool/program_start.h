// What the program settles with the system before anything else, and how it ends by a signal.
#ifndef XKRDB_TOOL_PROGRAM_START_H
#define XKRDB_TOOL_PROGRAM_START_H

#include <string>
#include <vector>

namespace xkrdb {

// Text is UTF-8 from here on, whatever the user's locale; a reader that goes away is met where output is written.
void PrepareProgram();

// In UTF-8, without the program's own name.
std::vector<std::string> ProgramArguments(int count, char** arguments);

}  // namespace xkrdb

#endif
