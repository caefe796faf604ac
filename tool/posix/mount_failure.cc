// See mount_failure.h. The causes are tried from the plainest to the least certain. The question who holds a file locked
// takes no lock itself, so that asking disturbs nobody; it must not be asked while this process has the file open.
#include "mount_failure.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "open_failure.h"

namespace xkrdb {
namespace {

// The process that holds a lock on the file, if one does. -1: one does, but the system does not say which.
std::optional<pid_t> LockHolder(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
  if (descriptor < 0) return std::nullopt;
  struct flock query {};
  query.l_type = F_WRLCK;
  query.l_whence = SEEK_SET;
  const bool known = fcntl(descriptor, F_GETLK, &query) == 0;
  (void)close(descriptor);
  if (!known || query.l_type == F_UNLCK) return std::nullopt;
  return query.l_pid;
}

// What stands under a name beside a database that the library keeps for itself, and is no part of it; empty when nothing
// does. The library takes away what an older database left there, if it may.
std::string FileInTheWay(const std::string& path, bool exists) {
  for (const std::string_view suffix : {"-journal", "-wal", "-shm"}) {
    struct stat status {};
    std::string name = path + std::string(suffix);
    if (lstat(name.c_str(), &status) != 0) continue;
    const bool is_journal = suffix == "-journal" || (suffix == "-wal" && !S_ISREG(status.st_mode));
    const bool is_removable = !S_ISDIR(status.st_mode) && (status.st_uid == geteuid() || geteuid() == 0);
    if (exists ? is_journal : !is_removable) return name;
  }
  return {};
}

}  // namespace

ToolError MountFailure(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) {
    const int error = errno;
    const std::string hint = error == ENOENT ? MissingFileHint(path) : std::string();
    return {ExitCode::kInputOutput, fmt::format("cannot open {}: {}{}", path, std::strerror(error), hint)};
  }
  if (S_ISLNK(status.st_mode)) {
    return {ExitCode::kInputOutput,
            fmt::format("{} is a symbolic link, and those are not followed; name the file itself", path)};
  }
  if (!S_ISREG(status.st_mode)) return {ExitCode::kNotDatabase, fmt::format("{} is not a file", path)};
  if (access(path.c_str(), R_OK | W_OK) != 0) {
    return {ExitCode::kInputOutput, fmt::format("{} must be readable and writable: {}", path, std::strerror(errno))};
  }
  if (const std::optional<pid_t> holder = LockHolder(path)) {
    const std::string who = *holder > 0 ? fmt::format(" (process {})", *holder) : std::string();
    return {ExitCode::kInUse, fmt::format("{} is in use by another program{}", path, who)};
  }
  if (access(FolderOf(path).c_str(), W_OK | X_OK) != 0) {
    return {ExitCode::kInputOutput,
            fmt::format("the folder of {} must be writable, the library writes a journal there: {}", path,
                        std::strerror(errno))};
  }
  return ContentFailure(path, FileInTheWay(path, true));
}

bool FileExists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

ToolError CreateFailure(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) return {ExitCode::kInputOutput, fmt::format("{} exists already", path)};
  const int error = errno;
  const std::string folder = FolderOf(path);
  const auto cannot = [](const std::string& what, int why) {
    return ToolError(ExitCode::kInputOutput, fmt::format("cannot make {}: {}", what, std::strerror(why)));
  };
  if (stat(folder.c_str(), &status) != 0) return cannot(fmt::format("{}: folder {}", path, folder), errno);
  if (!S_ISDIR(status.st_mode)) return cannot(fmt::format("{}: folder {}", path, folder), ENOTDIR);
  if (error != ENOENT) return cannot(path, error);
  if (access(folder.c_str(), W_OK | X_OK) != 0) return cannot(fmt::format("{}: folder {}", path, folder), errno);
  const std::string other = FileInTheWay(path, false);
  if (!other.empty()) {
    return {ExitCode::kInputOutput,
            fmt::format("cannot make {}: {} is in the way and cannot be taken away", path, other)};
  }
  return {ExitCode::kInputOutput, fmt::format("cannot make {}: the disk refused, or there is no room", path)};
}

}  // namespace xkrdb
