// See volume_file.h; opening is in volume_file_open.cc, what is particular to a new volume in volume_file_new.cc.
#include "volume_file.h"

#include <algorithm>

#include "volume_schema.h"

namespace objectstore {

namespace {

// Beyond this many pages the side file is taken up into the main file: before it has to grow past its usual size.
constexpr int kLongSideFilePages = 240;

}  // namespace

VolumeFile::~VolumeFile() {
  if (!IsOfThisProcess()) {
    // Closing would take the side file from the process that still works with it.
    for (auto& statement : statements_) static_cast<void>(statement.release());
    static_cast<void>(connection_.release());
    held_.Abandon();
    static_cast<void>(first_flush_.release());
    return;
  }
  for (auto& statement : statements_) statement.reset();
  connection_.reset();
  // Before the lock goes: afterwards the name may belong to another process's mount, as it may now if the file was moved.
  // Behind the connection, since not every system lets go of the name of an open file.
  if (connected_ && !settled_ && !side_file_existed_ && held_.is_locked() && CheckStillThere() == Status::kOk)
    RemoveEmptySideFile();
}

// SQLite takes the order of a table's pages for granted, and so does the reading without it: one in another's place gives
// rows twice or out of order, each of them sound.
Status VolumeFile::ForEachRow(Table table, int64_t first, int64_t last, const RowSink& sink) {
  if (!IsOfThisProcess()) return Status::kSharingViolation;
  std::optional<int64_t> previous;
  const auto take = [&](int64_t key, std::span<const uint8_t> body) {
    if (key < first || key > last || (previous && key <= *previous)) return Status::kCorrupt;
    previous = key;
    return sink(key, body);
  };
  if (!resting_) return ForEachSqlRow(table, first, last, take);
  return resting_->ForEachRow(static_cast<uint32_t>(kSchema[static_cast<size_t>(table)].root_page), first, last, take);
}

Status VolumeFile::ForEachSqlRow(Table table, int64_t first, int64_t last, const RowSink& sink) {
  const Statement* statement = nullptr;
  STORE_TRY(Prepared(QueryOf(kRead, table), statement));
  StatementUse use(*statement);
  use.Bind(0, first).Bind(1, last);
  for (;;) {
    bool has_row = false;
    STORE_TRY(use.Step(has_row));
    if (!has_row) return Status::kOk;
    int64_t key = 0;
    std::span<const uint8_t> body;
    if (!use.GetNumber(0, key) || !use.GetBlob(1, body)) return Status::kCorrupt;
    STORE_TRY(sink(key, body));
  }
}

Status VolumeFile::Begin() {
  if (!IsOfThisProcess()) return Status::kSharingViolation;
  STORE_TRY(CheckStillThere());
  if (is_empty_) STORE_TRY(BeginFirstFlush());
  if (InFirstFlush()) return Status::kOk;
  STORE_TRY(EndRest());
  const Statement* statement = nullptr;
  STORE_TRY(Prepared(kRollback, statement));  // there when it is needed, however short memory is by then
  if (side_file_existed_ && !log_is_ours_) STORE_TRY(TakeUpLog());
  log_is_ours_ = true;
  STORE_TRY(Prepared(kBegin, statement));
  STORE_TRY(StatementUse(*statement).Run());
  // What is written has the newest format, so that the file has it from then on.
  raises_version_ = format_version_ != kFormatVersion;
  return raises_version_ ? Execute(connection_.get(), sql::kSetFormatVersion) : Status::kOk;
}

Status VolumeFile::Put(Table table, int64_t key, std::span<const uint8_t> body) {
  if (InFirstFlush()) return first_flush_->Put(table, key, body);
  const Statement* statement = nullptr;
  STORE_TRY(Prepared(QueryOf(kPut, table), statement));
  return StatementUse(*statement).Bind(0, key).Bind(1, body).Run();
}

Status VolumeFile::Delete(Table table, int64_t key) {
  if (InFirstFlush()) return Status::kOk;  // there is nothing to delete
  const Statement* statement = nullptr;
  STORE_TRY(Prepared(QueryOf(kDelete, table), statement));
  return StatementUse(*statement).Bind(0, key).Run();
}

Status VolumeFile::DeleteRange(Table table, int64_t first, int64_t last) {
  if (InFirstFlush()) return Status::kOk;
  const Statement* statement = nullptr;
  STORE_TRY(Prepared(QueryOf(kDeleteRange, table), statement));
  return StatementUse(*statement).Bind(0, first).Bind(1, last).Run();
}

Status VolumeFile::Commit() {
  if (InFirstFlush()) return EndFirstFlush();
  const Statement* statement = nullptr;
  STORE_TRY(Prepared(kCommit, statement));
  STORE_TRY(StatementUse(*statement).Run());
  if (raises_version_) format_version_ = kFormatVersion;
  return Status::kOk;
}

// There may be no connection yet, or SQLite may have rolled back by itself; then there is nothing to do.
void VolumeFile::Rollback() {
  if (InFirstFlush()) first_flush_.reset();
  if (resting_) return;
  if (sqlite3_get_autocommit(connection_.get()) == 0) static_cast<void>(StatementUse(*statements_[kRollback]).Run());
}

Status VolumeFile::SyncDirectoryOnce() {
  if (directory_synced_) return Status::kOk;
  STORE_TRY(SyncDirectory(path_.directory));
  directory_synced_ = true;
  return Status::kOk;
}

// SQLite's parser takes as long as putting some rows, the longer the less of it a processor has at hand.
void VolumeFile::MakeReadyForMore() {
  GrowSideFile();
  const Statement* statement = nullptr;
  for (const Query query : {kPut, kDelete, kDeleteRange}) {
    for (const Table table : {Table::kDatabase, Table::kRecord, Table::kPacked}) {
      if (TextOf(QueryOf(query, table)) != nullptr) static_cast<void>(Prepared(QueryOf(query, table), statement));
    }
  }
}

// Gives the side file its usual size ahead of time: a sync of a file that does not grow is much cheaper. Zeros are no
// frames of the log, so that it ends where it did. A failure is no harm: what was grown is given back, and whoever writes
// there meets it again. This is for speed, and must not take the last blocks of a disk.
void VolumeFile::GrowSideFile() const {
  constexpr uint64_t kUsualBytes = 1 << 20;
  constexpr size_t kStepBytes = 1 << 16;
  static constexpr std::array<uint8_t, kStepBytes> kZeros{};
  SystemFile file;
  FileFacts facts;
  if (file.Open(side_file_, FileAccess::kWrite) != Status::kOk) return;
  if (file.LookAt(facts) != Status::kOk || facts.bytes == 0 || !file.HasAmpleRoom(kUsualBytes)) return;
  for (uint64_t offset = facts.bytes; offset < kUsualBytes;) {
    const size_t step = std::min(kStepBytes, static_cast<size_t>(kUsualBytes - offset));
    if (file.Write(std::span(kZeros).first(step), offset) != Status::kOk) {
      static_cast<void>(file.Truncate(facts.bytes));
      return;
    }
    offset += step;
  }
}

Status VolumeFile::CheckpointWhenLong() {
  if (side_file_pages_ < kLongSideFilePages) return Status::kOk;
  side_file_pages_ = 0;
  const int result = sqlite3_wal_checkpoint_v2(connection_.get(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  STORE_TRY(StatusOfSqlite(result));
  return RememberSize();
}

Status VolumeFile::Settle(IfGone if_gone) {
  if (!IsOfThisProcess()) return Status::kSharingViolation;
  const Status there = CheckStillThere();
  const bool is_gone = there != Status::kOk && there != Status::kCorrupt;
  if (is_gone && if_gone == IfGone::kLeave) return Status::kOk;  // the names beside it may be another file's by now
  STORE_TRY(there);
  if (resting_) return SettleAtRest();
  STORE_TRY(TakeUpLog());
  STORE_TRY(StatusOfSqlite(sqlite3_db_config(connection_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr)));
  settled_ = true;
  return Status::kOk;
}

Status VolumeFile::TakeUpLog() {
  const int result =
      sqlite3_wal_checkpoint_v2(connection_.get(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
  STORE_TRY(StatusOfSqlite(result));
  return RememberSize();
}

// The path still leads to the file that was opened, and nobody has cut it. What is written to a file without a name would
// be lost, and SQLite would write into a file that lacks pages.
Status VolumeFile::CheckStillThere() const {
  FileFacts facts;
  STORE_TRY(LookAt(path_.full, facts));
  if (facts.kind != FileKind::kRegular || facts.identity != identity_) return Status::kFileNotFound;
  return facts.bytes >= known_bytes_ ? Status::kOk : Status::kCorrupt;
}

Status VolumeFile::RememberSize() {
  FileFacts facts;
  STORE_TRY(LookAt(path_.full, facts));
  if (facts.kind != FileKind::kMissing) known_bytes_ = facts.bytes;
  return Status::kOk;
}

bool VolumeFile::IsOfThisProcess() const { return ProcessNumber() == owner_; }

void VolumeFile::RemoveEmptySideFile() const {
  FileFacts facts;
  if (LookAt(side_file_, facts) == Status::kOk && facts.kind == FileKind::kRegular && facts.bytes == 0)
    static_cast<void>(Remove(side_file_));
}

// Null where there is none: the volume's row is never deleted, and databases go one by one.
const char* VolumeFile::TextOf(size_t query) {
  static constexpr const char* kOfTables[][kTableQueryCount] = {
      {sql::kReadVolume, sql::kPutVolume, nullptr, nullptr},
      {sql::kReadDatabases, sql::kPutDatabase, sql::kDeleteDatabase, nullptr},
      {sql::kReadRecords, sql::kPutRecord, sql::kDeleteRecord, sql::kDeleteRecordRange},
      {sql::kReadPacked, sql::kPutPacked, sql::kDeletePacked, sql::kDeletePackedRange},
  };
  static constexpr const char* kOthers[] = {sql::kBegin, sql::kCommit, sql::kRollback};
  return query < kBegin ? kOfTables[query / kTableQueryCount][query % kTableQueryCount] : kOthers[query - kBegin];
}

Status VolumeFile::Prepared(size_t query, const Statement*& statement) {
  std::unique_ptr<Statement>& place = statements_[query];
  if (place == nullptr) {
    auto prepared = std::make_unique<Statement>();
    STORE_TRY(prepared->Prepare(connection_.get(), TextOf(query)));
    place = std::move(prepared);
  }
  statement = place.get();
  return Status::kOk;
}

}  // namespace objectstore
