// Why a database file could not be opened or made. The library answers with one status for many causes; this looks at
// the file itself, without opening it as a database, and says what it can tell.
#ifndef XKRDB_TOOL_OPEN_FAILURE_H
#define XKRDB_TOOL_OPEN_FAILURE_H

#include <string>

#include "mdb.h"
#include "tool_error.h"

namespace xkrdb {

ToolError OpenFailure(const std::string& path, MDbStatus status);
ToolError CreateFailure(const std::string& path);

// Whether something stands at path, a broken link included.
bool FileExists(const std::string& path);

}  // namespace xkrdb

#endif
