// See new_volume_file.h.
#include "new_volume_file.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

#include "first_flush.h"
#include "volume_file.h"

namespace objectstore {

namespace {

// Removes the file under construction unless it has got its name.
class FileUnderConstruction {
 public:
  explicit FileUnderConstruction(std::string path) : path_(std::move(path)) {}
  FileUnderConstruction(const FileUnderConstruction&) = delete;
  FileUnderConstruction& operator=(const FileUnderConstruction&) = delete;
  ~FileUnderConstruction() { unlink(path_.c_str()); }
  const char* path() const { return path_.c_str(); }

 private:
  std::string path_;
};

Status WriteAndSync(int file, const EmptyVolume& pages) {
  STORE_TRY(WriteAt(file, {pages.front().data(), sizeof pages}, 0));
  return Uninterrupted([&] { return fsync(file); }) == 0 ? Status::kOk : StatusOfErrno(errno);
}

constexpr const char* kSideFiles[] = {"-wal", "-shm", "-journal"};

bool HasSideFiles(const FilePath& path) {
  struct stat found;
  return std::any_of(std::begin(kSideFiles), std::end(kSideFiles), [&](const char* suffix) {
    return lstat((path.full + suffix).c_str(), &found) == 0 || errno != ENOENT;
  });
}

// What a volume of the same name may have left would be taken for the new one's. That it is gone must be durable before
// the new one has its name: not every file system keeps the order of names given and taken away.
Status RemoveSideFiles(const FilePath& path) {
  for (const char* suffix : kSideFiles) {
    if (unlink((path.full + suffix).c_str()) != 0 && errno != ENOENT) return StatusOfErrno(errno);
  }
  return SyncDirectory(path.directory);
}

// Creators in one directory take turns, so that none removes the side file of a volume that another has just created.
// Who cannot have its turn (somebody uses the directory as a lock, or the file system has none) removes nothing.
Status PublishNew(const char* made, const FilePath& path, NewFile& new_file) {
  const FileDescriptor directory(
      Uninterrupted([&] { return open(path.directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!directory.valid()) return StatusOfErrno(errno);
  const bool has_turn = flock(directory.number(), LOCK_EX | LOCK_NB) == 0;
  FileKind kind = FileKind::kMissing;
  FileIdentity identity;
  STORE_TRY(Identify(path, kind, identity));
  if (kind != FileKind::kMissing) return Status::kAlreadyExists;
  if (!has_turn && HasSideFiles(path)) return Status::kSharingViolation;
  STORE_TRY(RemoveSideFiles(path));
  if (renameat2(AT_FDCWD, made, AT_FDCWD, path.full.c_str(), RENAME_NOREPLACE) != 0) {
    if (errno != EINVAL && errno != ENOSYS) return StatusOfErrno(errno);
    if (link(made, path.full.c_str()) != 0) return StatusOfErrno(errno);
  }
  new_file.Made();
  return Status::kOk;
}

// What was flushed to the volume that gives way may stand in its log alone. Were the log removed first and the renaming
// failed, or the process ended in between, the old volume would be there without it. A file that cannot be read as a
// volume has nothing to keep.
Status TakeUpLog(const FilePath& path) {
  FileKind kind = FileKind::kMissing;
  FileIdentity identity;
  STORE_TRY(Identify({path.directory, path.full + "-wal"}, kind, identity));
  if (kind == FileKind::kMissing) return Status::kOk;
  STORE_TRY(Identify(path, kind, identity));
  std::unique_ptr<VolumeFile> replaced;
  Status status = VolumeFile::Open(path, identity, replaced);
  if (status == Status::kOk) status = replaced->Settle();
  return status == Status::kCorrupt ? Status::kOk : status;
}

Status PublishInPlace(const FileUnderConstruction& made, const FilePath& path) {
  STORE_TRY(TakeUpLog(path));
  const FileDescriptor replaced(
      Uninterrupted([&] { return open(path.full.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
  if (!replaced.valid()) return StatusOfErrno(errno);
  STORE_TRY(LockAsMount(replaced.number(), LockKind::kAlone));
  STORE_TRY(RemoveSideFiles(path));
  return rename(made.path(), path.full.c_str()) == 0 ? Status::kOk : StatusOfErrno(errno);
}

}  // namespace

NewFile::~NewFile() {
  if (!kept_) unlink(path_.full.c_str());
}

Status CreateVolumeFile(const FilePath& path, Existing existing, NewFile& new_file) {
  const auto pages = std::make_unique<EmptyVolume>();
  STORE_TRY(MakeEmptyVolume(*pages));
  const FileUnderConstruction made(path.full + ".new-" + std::to_string(getpid()));
  unlink(made.path());  // a process of this number that came to a sudden end may have left one
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  const FileDescriptor file(Uninterrupted([&] { return open(made.path(), kFlags, 0600); }));
  if (!file.valid()) return StatusOfErrno(errno);
  STORE_TRY(WriteAndSync(file.number(), *pages));
  return existing == Existing::kReplace ? PublishInPlace(made, path) : PublishNew(made.path(), path, new_file);
}

Status PublishVolumeFile(const std::string& made, const FilePath& path) {
  NewFile new_file(path);
  STORE_TRY(PublishNew(made.c_str(), path, new_file));
  STORE_TRY(SyncDirectory(path.directory));
  new_file.Keep();
  return Status::kOk;
}

}  // namespace objectstore
