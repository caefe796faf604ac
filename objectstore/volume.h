// One mounted volume: the image in memory and, except for the system's own store, the file that flushes write.
//
// (V1) Identifiers of databases and records share one sequence and are never used again, also after the next mount.
// (V2) The file changes only by a flush, and then by everything since the last one, in one transaction.
// (V3) After a write or a sync that failed the volume is poisoned: every flush from then on fails in the same way, while
//      reads go on.
// (V4) Once a part of it was found damaged, the last unmount leaves the side file: it may be what is wrong, if it came
//      from elsewhere, and the file beneath it sound.
// (V5) The numbers in the volume's row may lie ahead of those in use: no flush has a higher number, no object a higher
//      identifier. So a flush need not write the row until they have caught up. The first flush of a mount and the last
//      unmount write them as they are.
#pragma once

#include <memory>
#include <vector>

#include "database.h"
#include "file_identity.h"
#include "volume_file.h"

namespace objectstore {

class Volume {
 public:
  // The system's own store: no file, the zero name.
  Volume() = default;

  // A volume on a file.
  static Status Mount(const FilePath& path, const FileIdentity& identity, bool is_new, uint32_t sequence,
                      std::unique_ptr<Volume>& mounted);

  const CEGUID& guid() const { return guid_; }
  bool IsSystemStore() const { return file_ == nullptr; }
  bool IsOnFile(const FileIdentity& identity) const { return file_ != nullptr && file_->identity() == identity; }

  // False in a child process, which has the image but not the lock.
  bool IsOfThisProcess() const { return file_ == nullptr || file_->IsOfThisProcess(); }

  // The order in which volumes were mounted; the system's store is 0.
  uint32_t sequence() const { return sequence_; }

  uint32_t references = 1;
  bool unmount_has_failed = false;

  // By ascending identifier.
  std::span<const std::unique_ptr<Database>> databases() const { return databases_; }
  Database* Find(CEOID oid) const;
  Database* FindByName(const DatabaseName& name) const;
  Database* FirstAfter(CEOID oid) const;

  Status Load(Database& database);
  Status LoadFirst(Database& database, const SORTORDERSPEC* order);

  // The database that holds a record; null when there is no such record.
  Status FindOwner(CEOID record, Database*& owner);

  Status CreateDatabase(const CEDBASEINFO& info, CEOID& oid);
  Status SetDatabaseInfo(CEOID oid, const CEDBASEINFO& info);
  Status DeleteDatabase(CEOID oid);

  // For a volume that is made of what was saved from another: a database and its identifiers as they were there.
  Status RestoreDatabase(CEOID oid, const Description& description, std::span<const RecordRef> records);
  void RestoreNextIdentifier(CEOID next) { head_.next_identifier = next; }

  // The identifier of the next object; it is taken once it is used.
  Status NextIdentifier(CEOID& oid) const;
  void UseIdentifier() { ++head_.next_identifier; }

  Status Flush();
  bool poisoned() const { return poison_ != Status::kOk; }

  // The file as one whole, before the volume goes.
  Status Settle(IfGone if_gone);

 private:
  Status LoadCatalogue();
  bool HasChanges() const;
  Status WriteChanges(const VolumeHead& head, const VolumeHead& row);
  void ForgetChanges(const VolumeHead& head, const VolumeHead& row);
  VolumeHead RowFor(const VolumeHead& head) const;
  Status WriteExactRow();
  Status Poison(Status status);
  Status NoteDamage(Status status);

  CEGUID guid_ = {0, 0, 0, 0};
  uint32_t sequence_ = 0;
  std::unique_ptr<VolumeFile> file_;
  VolumeHead head_;       // the number of databases in it is that of the last flush
  VolumeHead row_;        // what the file says
  uint32_t flushes_ = 0;  // of this mount
  std::vector<std::unique_ptr<Database>> databases_;
  std::vector<CEOID> deleted_databases_;  // that the file holds
  Status poison_ = Status::kOk;
  bool damaged_ = false;
  BodyWriter writer_;
};

}  // namespace objectstore
