// See file_system.h: an open file.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>

#include "file_system.h"
#include "stat_facts.h"
#include "system_call.h"

namespace objectstore {

namespace {

int Number(intptr_t handle) { return static_cast<int>(handle); }

Status StatusOfCall(int result) { return result == 0 ? Status::kOk : StatusOfSystemError(errno); }

int FlagsOf(FileAccess access) {
  const int flags = access == FileAccess::kRead ? O_RDONLY : access == FileAccess::kWrite ? O_WRONLY : O_RDWR;
  return flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
}

}  // namespace

SystemFile::~SystemFile() {
  if (handle_ != kNone) close(Number(handle_));
}

Status SystemFile::Open(const std::string& path, FileAccess access) {
  handle_ = Uninterrupted([&] { return open(path.c_str(), FlagsOf(access)); });
  return handle_ != kNone ? Status::kOk : StatusOfSystemError(errno);
}

Status SystemFile::Create(const std::string& path) {
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  handle_ = Uninterrupted([&] { return open(path.c_str(), kFlags, 0600); });
  return handle_ != kNone ? Status::kOk : StatusOfSystemError(errno);
}

Status SystemFile::LookAt(FileFacts& facts) const {
  struct stat found;
  if (fstat(Number(handle_), &found) != 0) return StatusOfSystemError(errno);
  facts = FactsOf(found);
  return Status::kOk;
}

Status SystemFile::Read(uint64_t start, std::span<uint8_t> bytes, size_t& count) const {
  for (count = 0; count < bytes.size();) {
    const auto offset = static_cast<off_t>(start + count);
    const ssize_t got =
        Uninterrupted([&] { return pread(Number(handle_), bytes.data() + count, bytes.size() - count, offset); });
    if (got < 0) return StatusOfSystemError(errno);
    if (got == 0) break;
    count += static_cast<size_t>(got);
  }
  return Status::kOk;
}

Status SystemFile::Write(std::span<const uint8_t> bytes, uint64_t start) const {
  while (!bytes.empty()) {
    const ssize_t count =
        Uninterrupted([&] { return pwrite(Number(handle_), bytes.data(), bytes.size(), static_cast<off_t>(start)); });
    if (count <= 0) return count < 0 ? StatusOfSystemError(errno) : Status::kDiskFull;
    bytes = bytes.subspan(static_cast<size_t>(count));
    start += static_cast<uint64_t>(count);
  }
  return Status::kOk;
}

Status SystemFile::Truncate(uint64_t bytes) const {
  return StatusOfCall(ftruncate(Number(handle_), static_cast<off_t>(bytes)));
}

Status SystemFile::Sync() const {
  return StatusOfCall(Uninterrupted([this] { return fsync(Number(handle_)); }));
}

Status SystemFile::SyncBytes() const {
  return StatusOfCall(Uninterrupted([this] { return fdatasync(Number(handle_)); }));
}

// SQLite's bytes, in the second gigabyte.
Status SystemFile::LockAsMount(LockKind kind) const {
  struct flock lock = {};
  lock.l_type = kind == LockKind::kShared ? F_RDLCK : F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0x40000000;
  lock.l_len = 512;
  if (fcntl(Number(handle_), F_SETLK, &lock) == 0) return Status::kOk;
  return errno == EACCES || errno == EAGAIN ? Status::kSharingViolation : StatusOfSystemError(errno);
}

// Only the system's own user can give a file away.
Status SystemFile::GiveAccessOf(const std::string& path) const {
  struct stat found;
  if (lstat(path.c_str(), &found) != 0) return StatusOfSystemError(errno);
  if (found.st_uid != geteuid() || found.st_gid != getegid()) {
    static_cast<void>(!fchown(Number(handle_), found.st_uid, found.st_gid));
  }
  return StatusOfCall(fchmod(Number(handle_), found.st_mode & 0777));
}

// Nor may the process be ended for its files' size.
bool SystemFile::HasAmpleRoom(uint64_t bytes) const {
  constexpr uint64_t kMultiple = 16;
  rlimit largest_file;
  struct statvfs disk;
  return getrlimit(RLIMIT_FSIZE, &largest_file) == 0 && largest_file.rlim_cur >= static_cast<rlim_t>(bytes) &&
         fstatvfs(Number(handle_), &disk) == 0 &&
         uint64_t{disk.f_bavail} * uint64_t{disk.f_frsize} >= kMultiple * bytes;
}

}  // namespace objectstore
