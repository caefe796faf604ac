// How the tool ends. Every failure is a ToolError: a message for the person and the exit code for the script. It is
// caught once, in main; nothing between there and the place of the failure prints or exits.
#ifndef XKRDB_TOOL_ERROR_H
#define XKRDB_TOOL_ERROR_H

#include <stdexcept>
#include <string>

namespace xkrdb {

enum class ExitCode : int {
  kDone = 0,
  kNothingFound = 1,  // a search without a hit, or a check that found a fault
  kUsage = 2,         // the command line cannot be meant
  kBadInput = 3,      // what was given, or what the database holds, cannot be taken as it is
  kNotDatabase = 4,   // not a database of this library, or a damaged one
  kInUse = 5,         // another process has the database open
  kInputOutput = 6,   // missing, not permitted, no room, or the disk refused
};

class ToolError : public std::runtime_error {
 public:
  ToolError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace xkrdb

#endif
