// See file_system.h: names, folders and the process.
#include "file_system.h"

#include "system_calls.h"

namespace objectstore {

namespace {

Status StatusOf(windows::ErrorNumber error) {
  return error == 0 ? Status::kOk : StatusOfSystemError(static_cast<int>(error));
}

// FNV-1a, 64 bits.
uint64_t HashOf(const std::string& text) {
  uint64_t hash = 0xCBF29CE484222325;
  for (const char character : text) hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3;
  return hash;
}

}  // namespace

// Folders cannot be locked, so that a mutex stands for one. Who must not use it has no turn.
Status CreatorsTurn::Begin(const std::string& directory) {
  intptr_t mutex = 0;
  const windows::ErrorNumber error =
      windows::TakeNamedMutex("Local\\xkrdb-creators-" + std::to_string(HashOf(directory)), mutex);
  is_ours_ = error == 0 && mutex != 0;
  if (is_ours_) handle_ = mutex;
  return Status::kOk;
}

CreatorsTurn::~CreatorsTurn() {
  if (is_ours_) windows::ReleaseNamedMutex(handle_);
}

// Open files are not counted here.
Status RoomForFile::Keep(const std::string& /*directory*/) { return Status::kOk; }
void RoomForFile::GiveUp() {}

Status Remove(const std::string& path) {
  const Status status = StatusOf(windows::DeleteName(path));
  return status == Status::kFileNotFound ? Status::kOk : status;
}

Status Rename(const std::string& path, const std::string& new_path) {
  return StatusOf(windows::MoveName(path, new_path, false));
}

// No file gives way while it is open. Who opens this one in between keeps its place, and has lost nothing.
Status RenameInPlaceOf(SystemFile& replaced, const std::string& path, const std::string& new_path) {
  {
    SystemFile closed;
    closed.Swap(replaced);
  }
  return StatusOf(windows::MoveName(path, new_path, true));
}

// Folders cannot be synced. What changes names is written through as far as the system does that.
Status SyncDirectory(const std::string& /*directory*/) { return Status::kOk; }

Status FillWithChance(std::span<uint8_t> bytes) {
  return StatusOf(windows::FillWithRandomBytes(bytes.data(), bytes.size()));
}

uint64_t ProcessNumber() { return windows::CurrentProcess(); }

int SystemError() { return static_cast<int>(windows::LastErrorNumber()); }
void ForgetSystemError() { windows::SetLastErrorNumber(0); }

Status StatusOfSystemError(int number) {
  switch (static_cast<windows::ErrorNumber>(number)) {
    case ERROR_FILE_NOT_FOUND:
      return Status::kFileNotFound;
    case ERROR_PATH_NOT_FOUND:
    case windows::kInvalidName:
    case windows::kBadPathName:
    case windows::kFileNameTooLong:
    case windows::kDirectoryInvalid:
      return Status::kPathNotFound;
    case ERROR_ACCESS_DENIED:
    case windows::kWriteProtected:
      return Status::kAccessDenied;
    case ERROR_SHARING_VIOLATION:
    case windows::kLockViolation:
      return Status::kSharingViolation;
    case ERROR_DISK_FULL:
    case windows::kHandleDiskFull:
      return Status::kDiskFull;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case windows::kTooManyOpenFiles:
      return Status::kNotEnoughMemory;
    case ERROR_ALREADY_EXISTS:
    case windows::kFileExists:
      return Status::kAlreadyExists;
    case windows::kIsLink:
      return Status::kCorrupt;  // a symbolic link is no volume
    default:
      return Status::kDeviceFailed;
  }
}

}  // namespace objectstore
