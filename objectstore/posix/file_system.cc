// See file_system.h: names, folders and the process.
#include "file_system.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/random.h>
#include <unistd.h>

#include <cerrno>

#include "system_call.h"

namespace objectstore {

namespace {

int Number(intptr_t handle) { return static_cast<int>(handle); }

int OpenDirectory(const std::string& directory, int flags) {
  return Uninterrupted([&] { return open(directory.c_str(), flags | O_DIRECTORY | O_CLOEXEC); });
}

}  // namespace

CreatorsTurn::~CreatorsTurn() {
  if (handle_ >= 0) close(Number(handle_));
}

// Somebody else may use the directory as a lock, or the file system has none.
Status CreatorsTurn::Begin(const std::string& directory) {
  handle_ = OpenDirectory(directory, O_RDONLY);
  if (handle_ < 0) return StatusOfSystemError(errno);
  is_ours_ = flock(Number(handle_), LOCK_EX | LOCK_NB) == 0;
  return Status::kOk;
}

// A descriptor, which is free again when the file is made.
Status RoomForFile::Keep(const std::string& directory) {
  GiveUp();
  handle_ = OpenDirectory(directory, O_PATH);
  if (handle_ < 0) return StatusOfSystemError(errno);
  if (faccessat(Number(handle_), ".", W_OK | X_OK, AT_EACCESS) == 0) return Status::kOk;
  const Status status = StatusOfSystemError(errno);
  GiveUp();
  return status;
}

void RoomForFile::GiveUp() {
  if (handle_ >= 0) close(Number(handle_));
  handle_ = -1;
}

Status Remove(const std::string& path) {
  return unlink(path.c_str()) == 0 || errno == ENOENT ? Status::kOk : StatusOfSystemError(errno);
}

// Not every file system can rename without replacing. After a link the old name stays.
Status Rename(const std::string& path, const std::string& new_path) {
  if (renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, new_path.c_str(), RENAME_NOREPLACE) == 0) return Status::kOk;
  if (errno != EINVAL && errno != ENOSYS) return StatusOfSystemError(errno);
  return link(path.c_str(), new_path.c_str()) == 0 ? Status::kOk : StatusOfSystemError(errno);
}

Status RenameInPlaceOf(SystemFile& /*replaced*/, const std::string& path, const std::string& new_path) {
  return rename(path.c_str(), new_path.c_str()) == 0 ? Status::kOk : StatusOfSystemError(errno);
}

Status SyncDirectory(const std::string& directory) {
  const int opened = OpenDirectory(directory, O_RDONLY);
  if (opened < 0) return StatusOfSystemError(errno);
  const bool synced = Uninterrupted([opened] { return fsync(opened); }) == 0;
  const Status status = synced ? Status::kOk : StatusOfSystemError(errno);
  close(opened);
  return status;
}

Status FillWithChance(std::span<uint8_t> bytes) {
  const ssize_t count = Uninterrupted([bytes] { return getrandom(bytes.data(), bytes.size(), 0); });
  return count == static_cast<ssize_t>(bytes.size()) ? Status::kOk : Status::kDeviceFailed;
}

uint64_t ProcessNumber() { return static_cast<uint64_t>(getpid()); }

int SystemError() { return errno; }
void ForgetSystemError() { errno = 0; }

Status StatusOfSystemError(int number) {
  switch (number) {
    case ENOENT:
      return Status::kFileNotFound;
    case ENOTDIR:
    case ENAMETOOLONG:
      return Status::kPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
      return Status::kAccessDenied;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return Status::kDiskFull;
    case ENOMEM:
    case EMFILE:
    case ENFILE:
      return Status::kNotEnoughMemory;
    case EEXIST:
      return Status::kAlreadyExists;
    case ELOOP:
      return Status::kCorrupt;  // a symbolic link is no volume
    default:
      return Status::kDeviceFailed;
  }
}

}  // namespace objectstore
