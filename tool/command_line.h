// The command line: one parser with a subcommand per command. This is the one place that knows the parser library.
#ifndef XKRDB_TOOL_COMMAND_LINE_H
#define XKRDB_TOOL_COMMAND_LINE_H

#include <string>
#include <vector>

namespace xkrdb {

// Runs the command that was asked for and returns the process's exit code. Messages are printed here.
int RunCommandLine(const std::vector<std::string>& typed);

}  // namespace xkrdb

#endif
