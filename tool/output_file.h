// A file that is written whole or not at all.
#ifndef XKRDB_TOOL_OUTPUT_FILE_H
#define XKRDB_TOOL_OUTPUT_FILE_H

#include <string>
#include <string_view>

namespace xkrdb {

// Writes beside path under a temporary name and moves the file there when it is complete and on the disk. An existing
// file is replaced only when replace says so. Throws ToolError; path is then as it was.
void WriteFileWhole(const std::string& path, std::string_view text, bool replace);

}  // namespace xkrdb

#endif
