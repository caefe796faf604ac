// Opening a volume's file: nothing is believed before it is checked and nothing is written (see volume_file.h).
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <span>

#include "schema_check.h"
#include "volume_file.h"
#include "volume_header.h"
#include "volume_schema.h"

namespace objectstore {

namespace {

constexpr off_t kLargestFileBytes = off_t{64} << 30;

// One frame of SQLite's write-ahead log, and the log's header before the first.
constexpr size_t kLogHeaderBytes = 32;
constexpr size_t kFrameHeaderBytes = 24;
constexpr off_t kFrameBytes = kFrameHeaderBytes + kPageBytes;
constexpr uint32_t kLogMagic = 0x377F0682;  // the lowest bit tells the byte order of checksums

// Fills bytes from a place in a file; count says how many it has there.
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

bool ReadAt(int file, off_t start, std::span<uint8_t> bytes) {
  size_t count = 0;
  return ReadAt(file, start, bytes, count) == Status::kOk && count == bytes.size();
}

// The log holds a first page of the file that is a volume's. Whether that frame counts, by its checksums, is SQLite's
// matter; a frame after the last one that counts may hold anything.
bool LogHoldsVolumeHeader(int file) {
  uint8_t log[kLogHeaderBytes];
  if (!ReadAt(file, 0, log) || (BigEndian32(log) & ~1u) != kLogMagic || BigEndian32(log + 8) != kPageBytes)
    return false;
  uint8_t frame[kFrameHeaderBytes + kHeaderBytes];
  for (off_t offset = kLogHeaderBytes; ReadAt(file, offset, frame); offset += kFrameBytes) {
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

// A file that cannot be seen for any other reason than that it is missing may be there.
Status Exists(const std::string& path, bool& exists) {
  struct stat found;
  exists = lstat(path.c_str(), &found) == 0;
  return exists || errno == ENOENT ? Status::kOk : StatusOfErrno(errno);
}

}  // namespace

VolumeFile::VolumeFile(const FilePath& path, const FileIdentity& identity)
    : path_(path), side_file_(path.full + "-wal"), identity_(identity), owner_(getpid()) {}

Status VolumeFile::Open(const FilePath& path, const FileIdentity& identity, std::unique_ptr<VolumeFile>& opened) {
  std::unique_ptr<VolumeFile> file(new VolumeFile(path, identity));
  STORE_TRY(file->CheckHeader());
  STORE_TRY(file->CheckNeighbours());
  Status status = file->Connect();
  if (status == Status::kOk) status = file->CheckSchema();
  if (status == Status::kOk) status = file->GatherLogWrites();
  if (status != Status::kOk) return file->ReasonOf(status);
  // Another process may have put another file in this one's place before the lock was ours.
  STORE_TRY(file->CheckStillThere());
  STORE_TRY(file->RememberSize());
  opened = std::move(file);
  return Status::kOk;
}

// Looks at the first bytes without SQLite, which would create a side file next to anything.
Status VolumeFile::CheckHeader() const {
  const FileDescriptor file(
      Uninterrupted([this] { return open(path_.full.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
  if (!file.valid()) return StatusOfErrno(errno);
  struct stat found;
  if (fstat(file.number(), &found) != 0) return StatusOfErrno(errno);
  if (!S_ISREG(found.st_mode) || found.st_size > kLargestFileBytes) return Status::kCorrupt;
  uint8_t header[kHeaderBytes];
  size_t count = 0;
  STORE_TRY(ReadAt(file.number(), 0, header, count));
  if (count != sizeof header) return Status::kCorrupt;
  return IsVolumeHeader(header) ? Status::kOk : CheckHeaderInLog();
}

// The power may have gone while the first page was on its way from the log into the file. It is whole in the log then.
Status VolumeFile::CheckHeaderInLog() const {
  const FileDescriptor log(
      Uninterrupted([this] { return open(side_file_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }));
  struct stat found;
  const bool holds =
      log.valid() && fstat(log.number(), &found) == 0 && S_ISREG(found.st_mode) && LogHoldsVolumeHeader(log.number());
  return holds ? Status::kOk : Status::kCorrupt;
}

// A volume never has a rollback journal; SQLite would play one back into the file. And its side file is a file; SQLite
// would take a pipe or a device for one.
Status VolumeFile::CheckNeighbours() const {
  bool exists = false;
  STORE_TRY(Exists(path_.full + kJournalSuffix, exists));
  if (exists) return Status::kCorrupt;
  struct stat found;
  if (lstat(side_file_.c_str(), &found) != 0) return errno == ENOENT ? Status::kOk : StatusOfErrno(errno);
  return S_ISREG(found.st_mode) ? Status::kOk : Status::kCorrupt;
}

Status VolumeFile::Connect() {
  STORE_TRY(Exists(side_file_, side_file_existed_));
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                         SQLITE_OPEN_EXRESCODE;
  sqlite3* connection = nullptr;
  const int result = sqlite3_open_v2(path_.full.c_str(), &connection, kFlags, nullptr);
  connection_.reset(connection);
  if (result != SQLITE_OK) return StatusOfSqlite(result);
  // SQLite opens a file that it may not write for reading. Its first look would then ask for a lock that needs writing.
  if (sqlite3_db_readonly(connection, "main") != 0) return Status::kAccessDenied;
  STORE_TRY(Harden(connection));
  STORE_TRY(Execute(connection, sql::kSetUpConnection));
  sqlite3_wal_hook(
      connection,
      [](void* file, sqlite3*, const char*, int pages) {
        static_cast<VolumeFile*>(file)->side_file_pages_ = pages;
        return SQLITE_OK;
      },
      this);
  return Status::kOk;
}

// That SQLite could not open a file is all that it says; the system has told it why.
Status VolumeFile::ReasonOf(Status status) const {
  const int error = status == Status::kAccessDenied ? sqlite3_system_errno(connection_.get()) : 0;
  return error != 0 ? StatusOfErrno(error) : status;
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
