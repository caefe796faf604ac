// See held_file.h.
#include "held_file.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "file_system.h"
#include "sqlite_statement.h"

namespace objectstore {

// One that could not be opened has no methods.
void HeldFile::CloseFile::operator()(sqlite3_file* file) const {
  if (file->pMethods != nullptr) file->pMethods->xClose(file);
  ::operator delete(file);
}

HeldFile::~HeldFile() = default;

Status HeldFile::Open(const std::string& path) {
  name_.reset(sqlite3_create_filename(path.c_str(), "", "", 0, nullptr));
  return name_ != nullptr ? OpenOne(file_, flags_) : Status::kNotEnoughMemory;
}

// That SQLite could not open a file is all that it says; the system has told it why.
Status HeldFile::OpenOne(File& file, int& flags) const {
  sqlite3_vfs* const files = sqlite3_vfs_find(nullptr);
  if (files == nullptr) return Status::kNotEnoughMemory;
  const auto bytes = static_cast<size_t>(files->szOsFile);
  file.reset(static_cast<sqlite3_file*>(std::memset(::operator new(bytes), 0, bytes)));
  constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_MAIN_DB | SQLITE_OPEN_NOFOLLOW;
  ForgetSystemError();
  const int result = files->xOpen(files, name_.get(), file.get(), kFlags, &flags);
  if (result == SQLITE_OK) return Status::kOk;
  const int reason = SystemError();
  return (result & 0xFF) == SQLITE_CANTOPEN && reason != 0 ? StatusOfSystemError(reason) : StatusOfSqlite(result);
}

Status HeldFile::Lock() {
  STORE_TRY(StatusOfSqlite(file_->pMethods->xLock(file_.get(), SQLITE_LOCK_SHARED)));
  STORE_TRY(StatusOfSqlite(file_->pMethods->xLock(file_.get(), SQLITE_LOCK_EXCLUSIVE)));
  locked_ = true;
  return Status::kOk;
}

// SQLite takes the descriptor of a file that was closed under a lock up again when the file is opened anew.
Status HeldFile::KeepDescriptor() {
  File closed;
  int flags = 0;
  return OpenOne(closed, flags);
}

// Whoever asks, the file is locked: a rollback journal, which no volume has, is not played back.
void HeldFile::LendLock(sqlite3* connection) {
  sqlite3_file* lent = nullptr;
  if (sqlite3_file_control(connection, "main", SQLITE_FCNTL_FILE_POINTER, &lent) != SQLITE_OK || lent == nullptr)
    return;
  lent_methods_ = *lent->pMethods;
  lent_methods_.xLock = [](sqlite3_file*, int) { return SQLITE_OK; };
  lent_methods_.xUnlock = [](sqlite3_file*, int) { return SQLITE_OK; };
  lent_methods_.xCheckReservedLock = [](sqlite3_file*, int* reserved) {
    *reserved = 1;
    return SQLITE_OK;
  };
  lent->pMethods = &lent_methods_;
}

// SQLite's files take pages: of a piece of more than 128 KiB they write the length's lower bits only.
Status HeldFile::Write(std::span<const uint8_t> bytes, uint64_t offset) const {
  constexpr size_t kPieceBytes = size_t{64} << 10;
  while (!bytes.empty()) {
    const auto piece = bytes.first(std::min(kPieceBytes, bytes.size()));
    STORE_TRY(StatusOfSqlite(file_->pMethods->xWrite(file_.get(), piece.data(), static_cast<int>(piece.size()),
                                                     static_cast<sqlite3_int64>(offset))));
    bytes = bytes.subspan(piece.size());
    offset += piece.size();
  }
  return Status::kOk;
}

Status HeldFile::Sync() const {
  return StatusOfSqlite(file_->pMethods->xSync(file_.get(), SQLITE_SYNC_NORMAL | SQLITE_SYNC_DATAONLY));
}

Status HeldFile::Truncate(uint64_t bytes) const {
  return StatusOfSqlite(file_->pMethods->xTruncate(file_.get(), static_cast<sqlite3_int64>(bytes)));
}

void HeldFile::Abandon() {
  static_cast<void>(file_.release());
  static_cast<void>(name_.release());
}

}  // namespace objectstore
