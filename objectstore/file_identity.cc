// See file_identity.h.
#include "file_identity.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace objectstore {

namespace {

// SQLite knows paths of at most 512 bytes, those of side files included.
constexpr size_t kLongestPathBytes = 500;

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};

}  // namespace

Status ResolvePath(const std::string& path, FilePath& resolved) {
  const size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name.empty()) return Status::kPathNotFound;
  const std::unique_ptr<char, FreeMemory> real(realpath(directory.c_str(), nullptr));
  // Nothing, or links without an end, where a folder should be.
  if (real == nullptr) return errno == ENOENT || errno == ELOOP ? Status::kPathNotFound : StatusOfErrno(errno);
  resolved.directory = real.get();
  resolved.full = resolved.directory == "/" ? "/" + name : resolved.directory + "/" + name;
  return resolved.full.size() <= kLongestPathBytes ? Status::kOk : Status::kPathNotFound;
}

Status Identify(const FilePath& path, FileKind& kind, FileIdentity& identity, uint64_t* bytes) {
  struct stat found;
  if (lstat(path.full.c_str(), &found) != 0) {
    kind = FileKind::kMissing;
    return errno == ENOENT ? Status::kOk : StatusOfErrno(errno);
  }
  kind = S_ISREG(found.st_mode) ? FileKind::kRegular : FileKind::kOther;
  identity = {static_cast<uint64_t>(found.st_dev), static_cast<uint64_t>(found.st_ino)};
  if (bytes != nullptr) *bytes = static_cast<uint64_t>(found.st_size);
  return Status::kOk;
}

Status StatusOfErrno(int number) {
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

// SQLite's bytes, in the second gigabyte.
Status LockAsMount(int file, LockKind kind) {
  struct flock lock = {};
  lock.l_type = kind == LockKind::kShared ? F_RDLCK : F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0x40000000;
  lock.l_len = 512;
  if (fcntl(file, F_SETLK, &lock) == 0) return Status::kOk;
  return errno == EACCES || errno == EAGAIN ? Status::kSharingViolation : StatusOfErrno(errno);
}

Status ReadAt(int file, off_t start, std::span<uint8_t> bytes, size_t& count) {
  for (count = 0; count < bytes.size();) {
    const off_t offset = start + static_cast<off_t>(count);
    const ssize_t got = Uninterrupted([&] { return pread(file, bytes.data() + count, bytes.size() - count, offset); });
    if (got < 0) return StatusOfErrno(errno);
    if (got == 0) break;
    count += static_cast<size_t>(got);
  }
  return Status::kOk;
}

Status WriteAt(int file, std::span<const uint8_t> bytes, off_t offset) {
  while (!bytes.empty()) {
    const ssize_t count = Uninterrupted([&] { return pwrite(file, bytes.data(), bytes.size(), offset); });
    if (count <= 0) return count < 0 ? StatusOfErrno(errno) : Status::kDiskFull;
    bytes = bytes.subspan(static_cast<size_t>(count));
    offset += count;
  }
  return Status::kOk;
}

Status SyncDirectory(const std::string& directory) {
  const FileDescriptor opened(
      Uninterrupted([&] { return open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!opened.valid()) return StatusOfErrno(errno);
  return Uninterrupted([&] { return fsync(opened.number()); }) == 0 ? Status::kOk : StatusOfErrno(errno);
}

FileDescriptor::~FileDescriptor() {
  if (valid()) close(number_);
}

}  // namespace objectstore
