// See volume.h.
#include "volume.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "file_system.h"
#include "growth.h"

namespace objectstore {

namespace {

constexpr uint32_t kLastLowWord = std::numeric_limits<uint32_t>::max();

// A name that is nobody else's: by chance in three words, by the mount's number in the fourth, which is neither that of
// the system's store nor that of no volume.
Status MakeGuid(uint32_t sequence, CEGUID& guid) {
  std::array<uint8_t, 3 * sizeof(DWORD)> bytes;
  STORE_TRY(FillWithChance(bytes));
  const auto chance = std::bit_cast<std::array<DWORD, 3>>(bytes);
  guid = {chance[0], chance[1], chance[2], sequence};
  return Status::kOk;
}

// Takes back a transaction that was not committed.
class Transaction {
 public:
  explicit Transaction(VolumeFile& file) : file_(file) {}
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  ~Transaction() { file_.Rollback(); }

 private:
  VolumeFile& file_;
};

}  // namespace

Status Volume::Mount(const FilePath& path, const FileIdentity& identity, bool is_new, uint32_t sequence,
                     std::unique_ptr<Volume>& mounted) {
  auto volume = std::make_unique<Volume>();
  STORE_TRY(MakeGuid(sequence, volume->guid_));
  volume->sequence_ = sequence;
  STORE_TRY(VolumeFile::Open(path, identity, volume->file_));
  STORE_TRY(volume->LoadCatalogue());
  if (is_new) STORE_TRY(volume->file_->MarkNew());
  mounted = std::move(volume);
  return Status::kOk;
}

Status Volume::LoadCatalogue() {
  constexpr int64_t kFirst = std::numeric_limits<int64_t>::min();
  constexpr int64_t kLast = std::numeric_limits<int64_t>::max();
  int heads = 0;
  const auto take_head = [&](int64_t key, std::span<const uint8_t> body) {
    ++heads;
    return key == kVolumeRowKey ? DecodeVolumeHead(body, head_) : Status::kCorrupt;
  };
  const auto take_database = [&](int64_t key, std::span<const uint8_t> body) {
    if (key <= 0 || key >= int64_t{head_.next_identifier}) return Status::kCorrupt;
    const auto oid = static_cast<CEOID>(key);
    DatabaseHead head;
    STORE_TRY(DecodeDatabaseHead(body, oid, head));
    if (FindByName(head.description.name) != nullptr) return Status::kCorrupt;
    databases_.push_back(std::make_unique<Database>(oid, std::move(head)));
    return Status::kOk;
  };
  STORE_TRY(file_->ForEachRow(Table::kVolume, kFirst, kLast, take_head));
  if (heads != 1) return Status::kCorrupt;
  STORE_TRY(file_->ForEachRow(Table::kDatabase, kFirst, kLast, take_database));
  row_ = head_;
  return databases_.size() == head_.database_count ? Status::kOk : Status::kCorrupt;
}

Status Volume::Load(Database& database) { return NoteDamage(database.Load(file_.get(), head_.next_identifier)); }

Status Volume::LoadFirst(Database& database, const SORTORDERSPEC* order) {
  return NoteDamage(database.LoadFirst(file_.get(), head_.next_identifier, order));
}

Database* Volume::FirstAfter(CEOID oid) const {
  const auto found = std::partition_point(databases_.begin(), databases_.end(),
                                          [oid](const auto& database) { return database->oid() <= oid; });
  return found == databases_.end() ? nullptr : found->get();
}

Database* Volume::Find(CEOID oid) const {
  if (oid == 0) return nullptr;
  Database* database = FirstAfter(oid - 1);
  return database != nullptr && database->oid() == oid ? database : nullptr;
}

Database* Volume::FindByName(const DatabaseName& name) const {
  for (const auto& database : databases_) {
    if (database->description().name.Matches(name)) return database.get();
  }
  return nullptr;
}

// What a database of an older format holds is asked of the file as long as nobody has needed it; a look there is cheaper
// than loading it.
Status Volume::FindOwner(CEOID record, Database*& owner) {
  owner = nullptr;
  for (const auto& database : databases_) {
    bool holds = false;
    if (database->names_records()) {
      holds = database->Names(record);
    } else {
      const int64_t key = RowKey(database->oid(), record);
      STORE_TRY(NoteDamage(file_->ForEachRow(Table::kRecord, key, key, [&holds](int64_t, std::span<const uint8_t>) {
        holds = true;
        return Status::kOk;
      })));
    }
    if (holds) owner = database.get();
  }
  return Status::kOk;
}

Status Volume::CreateDatabase(const CEDBASEINFO& info, CEOID& oid) {
  if ((info.dwFlags & CEDB_VALIDNAME) == 0) return Status::kInvalidParameter;
  Description description;
  STORE_TRY(ApplyInfo(info, description));
  if (FindByName(description.name) != nullptr) return Status::kDuplicateName;
  CEOID identifier = 0;
  STORE_TRY(NextIdentifier(identifier));
  ReserveOneMore(databases_);
  databases_.push_back(std::make_unique<Database>(identifier, description));
  UseIdentifier();
  oid = identifier;
  return Status::kOk;
}

// By ascending identifier, one database after the other. The time of the last change is what it was.
Status Volume::RestoreDatabase(CEOID oid, const Description& description, std::span<const RecordRef> records) {
  if (!databases_.empty() && databases_.back()->oid() >= oid) return Status::kInvalidParameter;
  Description made = description;
  made.record_count = 0;
  made.record_bytes = 0;
  auto database = std::make_unique<Database>(oid, made);
  for (const RecordRef& record : records) STORE_TRY(database->PutRecord(record));
  STORE_TRY(database->SetDescription(description, true));
  databases_.push_back(std::move(database));
  return Status::kOk;
}

Status Volume::SetDatabaseInfo(CEOID oid, const CEDBASEINFO& info) {
  Database* database = Find(oid);
  if (database == nullptr) return Status::kInvalidParameter;
  Description description = database->description();
  STORE_TRY(ApplyInfo(info, description));
  const Database* namesake = FindByName(description.name);
  if (namesake != nullptr && namesake != database) return Status::kDuplicateName;
  if (!(description.sort_specs == database->description().sort_specs)) {
    if (!database->handles().empty()) return Status::kSharingViolation;
    STORE_TRY(Load(*database));
  }
  if (!database->names_records()) STORE_TRY(Load(*database));
  const bool with_time = (info.dwFlags & CEDB_VALIDMODTIME) != 0;
  if (with_time) {
    description.modified = uint64_t{info.ftLastModified.dwHighDateTime} << 32 | info.ftLastModified.dwLowDateTime;
  }
  return database->SetDescription(description, with_time);
}

Status Volume::DeleteDatabase(CEOID oid) {
  Database* database = Find(oid);
  if (database == nullptr) return Status::kInvalidParameter;
  if (!database->handles().empty()) return Status::kSharingViolation;
  ReserveOneMore(deleted_databases_);
  if (database->in_file()) deleted_databases_.push_back(oid);
  std::erase_if(databases_, [database](const auto& held) { return held.get() == database; });
  return Status::kOk;
}

Status Volume::NextIdentifier(CEOID& oid) const {
  if (head_.next_identifier == std::numeric_limits<CEOID>::max()) return Status::kDiskFull;
  oid = head_.next_identifier;
  return Status::kOk;
}

Status Volume::Flush() {
  if (file_ == nullptr) return Status::kOk;
  if (poisoned()) return poison_;
  if (HasChanges()) {
    VolumeHead head = head_;
    ++head.flush;
    head.database_count = static_cast<uint32_t>(databases_.size());
    const VolumeHead row = RowFor(head);
    STORE_TRY(Poison(WriteChanges(head, row)));
    ForgetChanges(head, row);
    // The flush has happened by now; what fails below makes the next one fail.
    static_cast<void>(Poison(file_->CheckpointWhenLong()));
  }
  return Poison(file_->SyncDirectoryOnce());
}

bool Volume::HasChanges() const {
  return head_.next_identifier > row_.next_identifier || !deleted_databases_.empty() ||
         std::any_of(databases_.begin(), databases_.end(), [](const auto& database) { return database->changed(); });
}

// What the row has to say with the flush that makes the volume's numbers these.
VolumeHead Volume::RowFor(const VolumeHead& head) const {
  constexpr uint32_t kAhead = 64;
  VolumeHead row = row_;
  if (head.flush <= row.flush && head.next_identifier <= row.next_identifier &&
      head.database_count == row.database_count) {
    return row;
  }
  row = head;
  if (flushes_ == 0) return row;  // who flushes a second time will flush often
  row.flush += kAhead;
  row.next_identifier += std::min(kAhead, std::numeric_limits<CEOID>::max() - row.next_identifier);
  return row;
}

Status Volume::WriteChanges(const VolumeHead& head, const VolumeHead& row) {
  const Transaction transaction(*file_);
  STORE_TRY(file_->Begin());
  if (++flushes_ == 2) file_->MakeReadyForMore();  // who flushes a second time will flush often
  for (const CEOID oid : deleted_databases_) {
    STORE_TRY(file_->Delete(Table::kDatabase, oid));
    STORE_TRY(file_->DeleteRange(Table::kRecord, RowKey(oid, 0), RowKey(oid, kLastLowWord)));
    STORE_TRY(file_->DeleteRange(Table::kPacked, RowKey(oid, 0), RowKey(oid, kLastLowWord)));
  }
  for (const auto& database : databases_) {
    if (database->changed()) STORE_TRY(database->WriteChanges(*file_, head.flush, writer_));
  }
  if (!(row == row_)) STORE_TRY(file_->Put(Table::kVolume, kVolumeRowKey, EncodeVolumeHead(row, writer_)));
  return file_->Commit();
}

// At the end, so that the numbers go on without a gap. A file that is not there any more can do without.
Status Volume::WriteExactRow() {
  const Transaction transaction(*file_);
  const Status begun = file_->Begin();
  if (begun == Status::kFileNotFound) return Status::kOk;
  STORE_TRY(begun);
  STORE_TRY(file_->Put(Table::kVolume, kVolumeRowKey, EncodeVolumeHead(head_, writer_)));
  STORE_TRY(file_->Commit());
  row_ = head_;
  return Status::kOk;
}

void Volume::ForgetChanges(const VolumeHead& head, const VolumeHead& row) {
  for (const auto& database : databases_) {
    if (database->changed()) database->ForgetChanges();
  }
  deleted_databases_.clear();
  head_ = head;
  row_ = row;
}

// Memory that was short may be there the next time. Anything else leaves the file in a state that is not known: an
// operating system that failed to write a page may forget that it had to.
Status Volume::Poison(Status status) {
  if (status != Status::kOk && status != Status::kNotEnoughMemory && !poisoned()) poison_ = status;
  return status;
}

Status Volume::NoteDamage(Status status) {
  if (status == Status::kCorrupt) damaged_ = true;
  return status;
}

Status Volume::Settle(IfGone if_gone) {
  if (file_ == nullptr || damaged_) return Status::kOk;
  if (!poisoned() && !(row_ == head_)) STORE_TRY(Poison(WriteExactRow()));
  return Poison(file_->Settle(if_gone));
}

}  // namespace objectstore
