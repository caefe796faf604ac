// Opening a volume's file: nothing is believed before it is checked and nothing is written (see volume_file.h).
#include <cstring>
#include <span>

#include "first_page.h"
#include "log_format.h"
#include "page_format.h"
#include "schema_check.h"
#include "volume_file.h"
#include "volume_header.h"
#include "volume_schema.h"

namespace objectstore {

namespace {

bool ReadWhole(const SystemFile& file, uint64_t start, std::span<uint8_t> bytes) {
  size_t count = 0;
  return file.Read(start, bytes, count) == Status::kOk && count == bytes.size();
}

// The log holds a first page of the file that is a volume's. Whether that frame counts, by its checksums, is SQLite's
// matter; a frame after the last one that counts may hold anything.
bool LogHoldsVolumeHeader(const SystemFile& file) {
  uint8_t log[kLogHeaderBytes];
  if (!ReadWhole(file, 0, log) || (BigEndian32(log) & ~1u) != kLogMagic || BigEndian32(log + 8) != kPageBytes)
    return false;
  uint8_t frame[kFrameHeaderBytes + kHeaderBytes];
  for (uint64_t offset = kLogHeaderBytes; ReadWhole(file, offset, frame); offset += kFrameBytes) {
    if (std::memcmp(frame + 8, log + 16, 8) != 0) return false;  // the salts of an older log
    const uint32_t page = BigEndian32(frame);
    if (page == 0) return false;  // room, which may be terabytes that no disk holds
    if (page == 1 && IsVolumeHeader(frame + kFrameHeaderBytes)) return true;
  }
  return false;
}

// What SQLite need not do for us, it may not do: a file may come from anywhere.
Status Harden(sqlite3* connection) {
  static constexpr struct {
    int option;
    int value;
  } kOptions[] = {
      {SQLITE_DBCONFIG_DEFENSIVE, 1},        {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
      {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},   {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
      {SQLITE_DBCONFIG_DQS_DML, 0},          {SQLITE_DBCONFIG_DQS_DDL, 0},
      {SQLITE_DBCONFIG_ENABLE_FKEY, 0},      {SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0},
      {SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1},
  };
  for (const auto& [option, value] : kOptions) {
    const int result = sqlite3_db_config(connection, option, value, nullptr);
    if (result != SQLITE_OK) return StatusOfSqlite(result);
  }
  static constexpr struct {
    int limit;
    int value;
  } kLimits[] = {
      {SQLITE_LIMIT_LENGTH, 1 << 20},    {SQLITE_LIMIT_SQL_LENGTH, 1024},   {SQLITE_LIMIT_COLUMN, 8},
      {SQLITE_LIMIT_EXPR_DEPTH, 16},     {SQLITE_LIMIT_COMPOUND_SELECT, 2}, {SQLITE_LIMIT_VDBE_OP, 1000},
      {SQLITE_LIMIT_FUNCTION_ARG, 8},    {SQLITE_LIMIT_ATTACHED, 0},        {SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 8},
      {SQLITE_LIMIT_VARIABLE_NUMBER, 4}, {SQLITE_LIMIT_TRIGGER_DEPTH, 1},   {SQLITE_LIMIT_WORKER_THREADS, 0},
  };
  for (const auto& [limit, value] : kLimits) sqlite3_limit(connection, limit, value);
  return Status::kOk;
}

}  // namespace

VolumeFile::VolumeFile(const FilePath& path, const FileIdentity& identity)
    : path_(path), side_file_(path.full + "-wal"), identity_(identity), owner_(ProcessNumber()) {}

Status VolumeFile::Open(const FilePath& path, const FileIdentity& identity, std::unique_ptr<VolumeFile>& opened) {
  std::unique_ptr<VolumeFile> file(new VolumeFile(path, identity));
  Status status = file->held_.Open(path.full);
  if (status == Status::kOk) status = file->CheckHeader();
  if (status == Status::kOk) status = file->TakeLock();
  if (status == Status::kOk) status = file->CheckNeighbours();
  if (status == Status::kOk) status = file->LookWhetherItRests();
  if (status == Status::kOk && !file->resting_) {
    status = file->Connect();
    if (status == Status::kOk) status = file->CheckSchema();
    if (status == Status::kOk) status = file->GatherLogWrites();
  }
  if (status != Status::kOk) return file->ReasonOf(status);
  opened = std::move(file);
  return Status::kOk;
}

// Looks at the first bytes without SQLite, which would create a side file next to anything.
Status VolumeFile::CheckHeader() const {
  sqlite3_file* const file = held_.file();
  sqlite3_int64 bytes = 0;
  STORE_TRY(StatusOfSqlite(file->pMethods->xFileSize(file, &bytes)));
  if (bytes > static_cast<sqlite3_int64>(kLargestFileBytes) || bytes < kHeaderBytes) return Status::kCorrupt;
  uint8_t header[kHeaderBytes];
  const int result = file->pMethods->xRead(file, header, kHeaderBytes, 0);
  if (result == SQLITE_IOERR_SHORT_READ) return Status::kCorrupt;
  STORE_TRY(StatusOfSqlite(result));
  if (!IsVolumeHeader(header)) STORE_TRY(CheckHeaderInLog());
  // The lock needs writing.
  return held_.is_read_only() ? Status::kAccessDenied : Status::kOk;
}

// The power may have gone while the first page was on its way from the log into the file. It is whole in the log then.
Status VolumeFile::CheckHeaderInLog() const {
  SystemFile log;
  FileFacts facts;
  const bool holds = log.Open(side_file_, FileAccess::kRead) == Status::kOk && log.LookAt(facts) == Status::kOk &&
                     facts.kind == FileKind::kRegular && LogHoldsVolumeHeader(log);
  return holds ? Status::kOk : Status::kCorrupt;
}

// Another process may have put another file in this one's place before the lock was ours.
Status VolumeFile::TakeLock() {
  STORE_TRY(held_.Lock());
  FileFacts facts;
  STORE_TRY(LookAt(path_.full, facts));
  known_bytes_ = facts.bytes;
  return facts.kind == FileKind::kRegular && facts.identity == identity_ ? Status::kOk : Status::kFileNotFound;
}

// A volume never has a rollback journal; SQLite would play one back into the file. And its side file is a file; SQLite
// would take a pipe or a device for one.
Status VolumeFile::CheckNeighbours() {
  FileFacts facts;
  STORE_TRY(LookAt(path_.full + kJournalSuffix, facts));
  if (facts.kind != FileKind::kMissing) return Status::kCorrupt;
  STORE_TRY(LookAt(side_file_, facts));
  side_file_existed_ = facts.kind != FileKind::kMissing;
  return facts.kind != FileKind::kOther ? Status::kOk : Status::kCorrupt;
}

// With a log, or with a first page that is not the usual one, what counts is for SQLite to say. It makes the log when it
// looks at the file for the first time, which is at the first flush: that one can be made, and that there is room
// for it among the open files, is seen to here.
Status VolumeFile::LookWhetherItRests() {
  if (side_file_existed_) return Status::kOk;
  RestingFile& file = resting_.emplace(held_.file());
  const Status read = file.Begin();
  if (read != Status::kOk || !IsUsualFirstPage(file.first_page(), known_bytes_)) {
    resting_.reset();
    return read == Status::kCorrupt ? Status::kOk : read;
  }
  STORE_TRY(room_for_log_.Keep(path_.directory));
  STORE_TRY(held_.KeepDescriptor());
  format_version_ = FormatVersionOf(file.first_page().data());
  return Status::kOk;
}

Status VolumeFile::OpenConnection() {
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                         SQLITE_OPEN_EXRESCODE;
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(path_.full.c_str(), &opened, kFlags, nullptr);
  connection_.reset(opened);
  if (result != SQLITE_OK) return StatusOfSqlite(result);
  // SQLite opens a file that it may not write for reading.
  if (sqlite3_db_readonly(opened, "main") != 0) return Status::kAccessDenied;
  // The lock is that of the file which was opened first: had another one taken its place, this would be none.
  STORE_TRY(CheckStillThere());
  STORE_TRY(Harden(opened));
  held_.LendLock(opened);
  return Status::kOk;
}

Status VolumeFile::Connect() {
  connected_ = true;
  STORE_TRY(OpenConnection());
  STORE_TRY(Execute(connection_.get(), sql::kSetUpConnection));
  sqlite3_wal_hook(
      connection_.get(),
      [](void* file, sqlite3*, const char*, int pages) {
        static_cast<VolumeFile*>(file)->side_file_pages_ = pages;
        return SQLITE_OK;
      },
      this);
  return Status::kOk;
}

// What SQLite left of an attempt that failed is an empty log.
Status VolumeFile::CheckHasNoLog() const {
  FileFacts facts;
  STORE_TRY(LookAt(side_file_, facts));
  return facts.kind != FileKind::kOther && facts.bytes == 0 ? Status::kOk : Status::kCorrupt;
}

// Before the first flush through SQLite. The first page has been looked at; since the lock is ours and no log was there,
// or one that we have written, SQLite meets no other.
Status VolumeFile::EndRest() {
  if (!resting_) return Status::kOk;
  room_for_log_.GiveUp();
  STORE_TRY(first_flush_ != nullptr ? first_flush_->CheckLog() : CheckHasNoLog());
  const ConnectionAttempt attempt(*this);
  Status status = Connect();
  if (status == Status::kOk && first_flush_ != nullptr) status = CheckSeesFirstFlush();
  if (status == Status::kOk) status = GatherLogWrites();
  if (status != Status::kOk) return ReasonOf(status);
  resting_.reset();
  first_flush_.reset();
  return Status::kOk;
}

// Also when memory runs out.
VolumeFile::ConnectionAttempt::~ConnectionAttempt() {
  if (!file_.resting_) return;
  for (auto& statement : file_.statements_) statement.reset();
  file_.connection_.reset();
}

// That SQLite could not open a file is all that it says; the system has told it why.
Status VolumeFile::ReasonOf(Status status) const {
  const int error = status == Status::kAccessDenied ? sqlite3_system_errno(connection_.get()) : 0;
  return error != 0 ? StatusOfSystemError(error) : status;
}

// The first look at the file through SQLite, which takes the lock. The side file may hold another header.
Status VolumeFile::CheckSchema() {
  STORE_TRY(CheckHeaderNumbers(connection_.get(), format_version_));
  return CheckTableOfTables(connection_.get());
}

// SQLite has opened the log by now, and keeps it open for as long as it has the lock.
Status VolumeFile::GatherLogWrites() {
  sqlite3_file* log = nullptr;
  STORE_TRY(StatusOfSqlite(sqlite3_file_control(connection_.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log)));
  if (log == nullptr || log->pMethods == nullptr) return Status::kCorrupt;
  log_writes_.Begin(log);
  return Status::kOk;
}

}  // namespace objectstore
