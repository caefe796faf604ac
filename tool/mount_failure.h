// Why a database file cannot be opened or made, as far as the system can say.
#ifndef XKRDB_TOOL_MOUNT_FAILURE_H
#define XKRDB_TOOL_MOUNT_FAILURE_H

#include <string>

#include "tool_error.h"

namespace xkrdb {

// Without its last separator; "." for a name alone.
std::string FolderOf(const std::string& path);

// What may have been meant by the name of a file that is not there; empty, or the end of a message.
std::string MissingFileHint(const std::string& path);

// When the system has nothing against a file: what is wrong is in it, or, unless other is empty, what stands beside it.
ToolError ContentFailure(const std::string& path, const std::string& other);

ToolError MountFailure(const std::string& path);

}  // namespace xkrdb

#endif
