// See path_names.h.
#include "path_names.h"

#include <fmt/format.h>
#include <stdlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tool_error.h"

namespace xkrdb {

size_t StartOfName(const std::string& path) { return path.rfind('/') + 1; }

std::string MakeTemporaryFolder() {
  std::string folder = (std::filesystem::temp_directory_path() / "xkrdb-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) {
    throw ToolError(ExitCode::kInputOutput, fmt::format("cannot make a temporary folder: {}", std::strerror(errno)));
  }
  return folder;
}

void RemoveTemporaryFolder(const std::string& folder) {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

}  // namespace xkrdb
