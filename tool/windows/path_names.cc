// See path_names.h. Both kinds of slash divide a path, and so does the colon behind a drive's letter.
#include "path_names.h"

#include <fmt/format.h>
#include <windows.h>

#include "system_text.h"
#include "tool_error.h"

namespace xkrdb {

size_t StartOfName(const std::string& path) { return path.find_last_of("/\\:") + 1; }

std::string MakeTemporaryFolder() {
  wchar_t temporary[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH + 1, temporary);
  DWORD error = ERROR_ALREADY_EXISTS;
  for (DWORD attempt = 0; attempt < 100 && error == ERROR_ALREADY_EXISTS; ++attempt) {
    const std::wstring folder = std::wstring(temporary) + L"xkrdb-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                                std::to_wstring(GetTickCount() + attempt);
    if (CreateDirectoryW(folder.c_str(), nullptr) != 0) return NarrowArgument(folder);
    error = GetLastError();
  }
  throw ToolError(ExitCode::kInputOutput, fmt::format("cannot make a temporary folder: {}", SystemMessage(error)));
}

// The database that was in it has been deleted.
void RemoveTemporaryFolder(const std::string& folder) { RemoveDirectoryW(WideArgument(folder).c_str()); }

}  // namespace xkrdb
