// See mount_failure.h. The causes are tried from the plainest to the least certain.
#include "mount_failure.h"

#include <fmt/format.h>
#include <windows.h>

#include <optional>
#include <string_view>

#include "open_failure.h"
#include "system_text.h"

namespace xkrdb {
namespace {

DWORD AttributesOf(const std::string& path) { return GetFileAttributesW(WideArgument(path).c_str()); }

// The system's reason why the file cannot be had for reading and writing; 0 when it can. A volume that is mounted is open,
// but its first bytes are locked by nobody.
DWORD ReasonAgainstUse(const std::string& path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  HANDLE file = CreateFileW(WideArgument(path).c_str(), GENERIC_READ | GENERIC_WRITE, kShareAll, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError();
  // The bytes that whoever mounts a volume locks, in the second gigabyte.
  OVERLAPPED place{};
  place.Offset = 0x40000000;
  const bool locked = !LockFileEx(file, LOCKFILE_FAIL_IMMEDIATELY | LOCKFILE_EXCLUSIVE_LOCK, 0, 512, 0, &place);
  const DWORD reason = locked ? GetLastError() : 0;
  if (!locked) UnlockFileEx(file, 0, 512, 0, &place);
  CloseHandle(file);
  return reason;
}

bool IsInUse(DWORD reason) {
  return reason == ERROR_SHARING_VIOLATION || reason == ERROR_LOCK_VIOLATION || reason == ERROR_IO_PENDING;
}

// What stands under a name beside a database that the library keeps for itself, and is no part of it; empty when nothing
// does.
std::string FileInTheWay(const std::string& path, bool exists) {
  for (const std::string_view suffix : {"-journal", "-wal", "-shm"}) {
    const std::string name = path + std::string(suffix);
    const DWORD attributes = AttributesOf(name);
    if (attributes == INVALID_FILE_ATTRIBUTES) continue;
    const bool is_folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool is_journal = suffix == "-journal" || (suffix == "-wal" && is_folder);
    if (exists ? is_journal : is_folder) return name;
  }
  return {};
}

ToolError InputOutput(std::string what) { return {ExitCode::kInputOutput, std::move(what)}; }

}  // namespace

ToolError MountFailure(const std::string& path) {
  const DWORD attributes = AttributesOf(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    const std::string hint = error == ERROR_FILE_NOT_FOUND ? MissingFileHint(path) : std::string();
    return InputOutput(fmt::format("cannot open {}: {}{}", path, SystemMessage(error), hint));
  }
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0)
    return InputOutput(fmt::format("{} is a link, and those are not followed; name the file itself", path));
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
    return {ExitCode::kNotDatabase, fmt::format("{} is not a file", path)};
  const DWORD reason = ReasonAgainstUse(path);
  if (IsInUse(reason)) return {ExitCode::kInUse, fmt::format("{} is in use by another program", path)};
  if (reason != 0) return InputOutput(fmt::format("{} must be readable and writable: {}", path, SystemMessage(reason)));
  return ContentFailure(path, FileInTheWay(path, true));
}

bool FileExists(const std::string& path) { return AttributesOf(path) != INVALID_FILE_ATTRIBUTES; }

ToolError CreateFailure(const std::string& path) {
  if (FileExists(path)) return InputOutput(fmt::format("{} exists already", path));
  const DWORD error = GetLastError();
  const std::string folder = FolderOf(path);
  const DWORD attributes = AttributesOf(folder);
  if (attributes == INVALID_FILE_ATTRIBUTES)
    return InputOutput(fmt::format("cannot make {}: folder {}: {}", path, folder, SystemMessage(GetLastError())));
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
    return InputOutput(fmt::format("cannot make {}: folder {}: {}", path, folder, SystemMessage(ERROR_DIRECTORY)));
  if (error != ERROR_FILE_NOT_FOUND) return InputOutput(fmt::format("cannot make {}: {}", path, SystemMessage(error)));
  const std::string other = FileInTheWay(path, false);
  if (!other.empty())
    return InputOutput(fmt::format("cannot make {}: {} is in the way and cannot be taken away", path, other));
  return InputOutput(fmt::format("cannot make {}: the folder or the disk refused, or there is no room", path));
}

}  // namespace xkrdb
