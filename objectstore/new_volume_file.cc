// See new_volume_file.h.
#include "new_volume_file.h"

#include <algorithm>
#include <memory>

#include "file_system.h"
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
  ~FileUnderConstruction() { static_cast<void>(Remove(path_)); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

constexpr const char* kSideFiles[] = {"-wal", "-shm", "-journal"};

bool HasSideFiles(const FilePath& path) {
  return std::any_of(std::begin(kSideFiles), std::end(kSideFiles), [&](const char* suffix) {
    FileFacts facts;
    return LookAt(path.full + suffix, facts) != Status::kOk || facts.kind != FileKind::kMissing;
  });
}

// What a volume of the same name may have left would be taken for the new one's. That it is gone must be durable before
// the new one has its name: not every file system keeps the order of names given and taken away.
Status RemoveSideFiles(const FilePath& path) {
  for (const char* suffix : kSideFiles) STORE_TRY(Remove(path.full + suffix));
  return SyncDirectory(path.directory);
}

// Creators in one directory take turns, so that none removes the side file of a volume that another has just created.
// Who cannot have its turn removes nothing.
Status PublishNew(const std::string& made, const FilePath& path, NewFile& new_file) {
  CreatorsTurn turn;
  STORE_TRY(turn.Begin(path.directory));
  FileFacts facts;
  STORE_TRY(LookAt(path.full, facts));
  if (facts.kind != FileKind::kMissing) return Status::kAlreadyExists;
  if (!turn.is_ours() && HasSideFiles(path)) return Status::kSharingViolation;
  STORE_TRY(RemoveSideFiles(path));
  STORE_TRY(Rename(made, path.full));
  new_file.Made();
  return Status::kOk;
}

// What was flushed to the volume that gives way may stand in its log alone. Were the log removed first and the renaming
// failed, or the process ended in between, the old volume would be there without it. A file that cannot be read as a
// volume has nothing to keep.
Status TakeUpLog(const FilePath& path) {
  FileFacts facts;
  STORE_TRY(LookAt(path.full + "-wal", facts));
  if (facts.kind == FileKind::kMissing) return Status::kOk;
  STORE_TRY(LookAt(path.full, facts));
  std::unique_ptr<VolumeFile> replaced;
  Status status = VolumeFile::Open(path, facts.identity, replaced);
  if (status == Status::kOk) status = replaced->Settle(IfGone::kFail);
  return status == Status::kCorrupt ? Status::kOk : status;
}

Status PublishInPlace(const FileUnderConstruction& made, const FilePath& path) {
  STORE_TRY(TakeUpLog(path));
  SystemFile replaced;
  STORE_TRY(replaced.Open(path.full, FileAccess::kReadAndWrite));
  STORE_TRY(replaced.LockAsMount(LockKind::kAlone));
  STORE_TRY(RemoveSideFiles(path));
  return RenameInPlaceOf(replaced, made.path(), path.full);
}

}  // namespace

NewFile::~NewFile() {
  if (!kept_) static_cast<void>(Remove(path_.full));
}

Status CreateVolumeFile(const FilePath& path, Existing existing, NewFile& new_file) {
  const auto pages = std::make_unique<EmptyVolume>();
  STORE_TRY(MakeEmptyVolume(*pages));
  const FileUnderConstruction made(path.full + ".new-" + std::to_string(ProcessNumber()));
  static_cast<void>(Remove(made.path()));  // a process of this number that came to a sudden end may have left one
  SystemFile file;
  STORE_TRY(file.Create(made.path()));
  STORE_TRY(file.Write({pages->front().data(), sizeof *pages}, 0));
  STORE_TRY(file.Sync());
  return existing == Existing::kReplace ? PublishInPlace(made, path) : PublishNew(made.path(), path, new_file);
}

Status PublishVolumeFile(const std::string& made, const FilePath& path) {
  NewFile new_file(path);
  STORE_TRY(PublishNew(made, path, new_file));
  STORE_TRY(SyncDirectory(path.directory));
  new_file.Keep();
  return Status::kOk;
}

}  // namespace objectstore
