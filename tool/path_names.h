// Paths as the system divides them, and a folder for what is only needed for a while.
#ifndef XKRDB_TOOL_PATH_NAMES_H
#define XKRDB_TOOL_PATH_NAMES_H

#include <cstddef>
#include <string>

namespace xkrdb {

// Where the last part of a path begins.
size_t StartOfName(const std::string& path);

// A fresh folder among the system's temporary files. Throws ToolError.
std::string MakeTemporaryFolder();

// What cannot be removed is left to the system's own clearing of temporary files.
void RemoveTemporaryFolder(const std::string& folder);

}  // namespace xkrdb

#endif
