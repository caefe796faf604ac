// See open_failure.h: what the library itself says, and what it lists.
#include "open_failure.h"

#include <fmt/format.h>

#include <optional>
#include <vector>

#include "database_session.h"
#include "mount_failure.h"
#include "name_suggestion.h"
#include "path_names.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

// The database files of a folder, as the library lists them.
std::vector<std::string> DatabaseFiles(const std::string& folder) {
  std::vector<std::string> names;
  const std::optional<std::u16string> pattern = ToWide(folder + "/*.xdb");
  if (!pattern || folder.find_first_of("*?") != std::string::npos) return names;
  MDbChar name[MDB_MAX_PATH] = {};
  MDbHandle handle = 0;
  MDbStatus status = MDbFindFirstFile(&handle, pattern->c_str(), name, sizeof name);
  while (status == MDbStatusOk) {
    names.push_back(ToUtf8(name).value_or(std::string()));
    status = MDbFindNextFile(&handle, name, sizeof name);
  }
  return names;
}

}  // namespace

std::string FolderOf(const std::string& path) {
  const size_t name = StartOfName(path);
  if (name == 0) return ".";
  return name == 1 ? path.substr(0, 1) : path.substr(0, name - 1);
}

std::string MissingFileHint(const std::string& path) {
  const std::string folder = FolderOf(path);
  const std::optional<std::string> nearest = NearestName(path.substr(StartOfName(path)), DatabaseFiles(folder));
  if (!nearest) return {};
  return fmt::format("; did you mean {}?", folder == "." ? *nearest : folder + "/" + *nearest);
}

ToolError ContentFailure(const std::string& path, const std::string& other) {
  if (other.empty()) {
    return {ExitCode::kNotDatabase, fmt::format("{} is not a database of this library, or it is damaged", path)};
  }
  return {ExitCode::kNotDatabase,
          fmt::format("{} stands beside {} and does not belong to it; {} is opened once that is elsewhere", other, path,
                      path)};
}

ToolError OpenFailure(const std::string& path, MDbStatus status) {
  switch (status) {
    case MDbStatusCannotOpen:
      return MountFailure(path);
    case MDbStatusBadFormat:
      return {ExitCode::kNotDatabase, fmt::format("{} holds another format: its header is not this library's", path)};
    case MDbStatusChecksumMismatch:
      return {ExitCode::kNotDatabase,
              fmt::format("{} is marked as not whole: whoever was changing it did not finish", path)};
    case MDbStatusNoFields:
      return {ExitCode::kNotDatabase, fmt::format("{} has no fields", path)};
    default:
      return {
          ExitCode::kNotDatabase,
          fmt::format("{} is not complete: its mark or one of its tables is missing (status {}); it was never finished "
                      "or is damaged",
                      path, static_cast<uint32_t>(status))};
  }
}

}  // namespace xkrdb
