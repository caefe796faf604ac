// Writing a plan's volume: beside its place, and moved there when it is whole and on the disk.
#include "file_system.h"
#include "new_volume_file.h"
#include "volume.h"
#include "volume_repair.h"

namespace objectstore {

namespace {

// The file beside its place, with its log, removed unless it has got its name.
class UnnamedVolume {
 public:
  explicit UnnamedVolume(const FilePath& path) : path_(path) { Remove(); }
  UnnamedVolume(const UnnamedVolume&) = delete;
  UnnamedVolume& operator=(const UnnamedVolume&) = delete;
  ~UnnamedVolume() { Remove(); }

 private:
  void Remove() const {
    static_cast<void>(::objectstore::Remove(path_.full));
    static_cast<void>(::objectstore::Remove(path_.full + "-wal"));
  }
  const FilePath& path_;
};

// The longest path that leaves room for the ending of the unnamed file and that of its log.
constexpr size_t kLongestPathBytes = 480;

}  // namespace

Status RepairPlan::Write(const FilePath& path) const {
  if (path.full.size() > kLongestPathBytes) return Status::kPathNotFound;
  const FilePath unnamed_path = {path.directory, path.full + ".new-" + std::to_string(ProcessNumber())};
  const UnnamedVolume unnamed(unnamed_path);
  NewFile new_file(unnamed_path);
  STORE_TRY(CreateVolumeFile(unnamed_path, Existing::kRefuse, new_file));
  STORE_TRY(Fill(unnamed_path));
  return PublishVolumeFile(unnamed_path.full, path);
}

Status RepairPlan::Fill(const FilePath& path) const {
  FileFacts facts;
  STORE_TRY(LookAt(path.full, facts));
  std::unique_ptr<Volume> volume;
  // Its identifiers are those of another volume: their order is not that in which a new one's are written.
  constexpr bool kIsNew = false;
  STORE_TRY(Volume::Mount(path, facts.identity, kIsNew, 1, volume));
  for (const auto& [oid, database] : databases_) {
    STORE_TRY(volume->RestoreDatabase(oid, database.description, database.records));
  }
  volume->RestoreNextIdentifier(next_identifier_);
  STORE_TRY(volume->Flush());
  return volume->Settle(IfGone::kFail);
}

}  // namespace objectstore
