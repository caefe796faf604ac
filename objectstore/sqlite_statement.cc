// See sqlite_statement.h.
#include "sqlite_statement.h"

namespace objectstore {

namespace {

Status StatusOfIoError(int result) {
  switch (result) {
    case SQLITE_IOERR_NOMEM:
      return Status::kNotEnoughMemory;
    case SQLITE_IOERR_READ:
    case SQLITE_IOERR_SHORT_READ:
    case SQLITE_IOERR_FSTAT:
    case SQLITE_IOERR_ACCESS:
    case SQLITE_IOERR_LOCK:
      return Status::kDeviceFailed;
    default:
      return Status::kWriteFault;
  }
}

}  // namespace

Status StatusOfSqlite(int result) {
  switch (result & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return Status::kOk;
    case SQLITE_NOMEM:
      return Status::kNotEnoughMemory;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return Status::kSharingViolation;
    case SQLITE_FULL:
      return Status::kDiskFull;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_CANTOPEN:
      return Status::kAccessDenied;
    case SQLITE_IOERR:
      return StatusOfIoError(result);
    default:
      return Status::kCorrupt;
  }
}

Status Execute(sqlite3* connection, const char* sql) {
  return StatusOfSqlite(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr));
}

Status Statement::Prepare(sqlite3* connection, const char* sql) {
  sqlite3_stmt* statement = nullptr;
  const int result = sqlite3_prepare_v3(connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  statement_.reset(statement);
  return StatusOfSqlite(result);
}

// The failure of a step is reported by that step; a reset only repeats it.
StatementUse::~StatementUse() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

StatementUse& StatementUse::Bind(int parameter, int64_t number) {
  const int result = sqlite3_bind_int64(statement_, parameter + 1, number);
  if (bind_result_ == SQLITE_OK) bind_result_ = result;
  return *this;
}

StatementUse& StatementUse::Bind(int parameter, std::span<const uint8_t> bytes) {
  const int result = sqlite3_bind_blob64(statement_, parameter + 1, bytes.data(), bytes.size(), SQLITE_STATIC);
  if (bind_result_ == SQLITE_OK) bind_result_ = result;
  return *this;
}

Status StatementUse::Step(bool& has_row) {
  has_row = false;
  if (bind_result_ != SQLITE_OK) return StatusOfSqlite(bind_result_);
  const int result = sqlite3_step(statement_);
  has_row = result == SQLITE_ROW;
  return StatusOfSqlite(result);
}

Status StatementUse::Run() {
  bool has_row = false;
  return Step(has_row);
}

bool StatementUse::GetNumber(int column, int64_t& number) const {
  if (sqlite3_column_type(statement_, column) != SQLITE_INTEGER) return false;
  number = sqlite3_column_int64(statement_, column);
  return true;
}

bool StatementUse::GetBlob(int column, std::span<const uint8_t>& bytes) const {
  if (sqlite3_column_type(statement_, column) != SQLITE_BLOB) return false;
  const auto* data = static_cast<const uint8_t*>(sqlite3_column_blob(statement_, column));
  bytes = {data, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
  return data != nullptr || bytes.empty();
}

bool StatementUse::GetText(int column, std::string_view& text) const {
  if (sqlite3_column_type(statement_, column) != SQLITE_TEXT) return false;
  const auto* data = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  if (data == nullptr) return false;
  text = {data, static_cast<size_t>(sqlite3_column_bytes(statement_, column))};
  return true;
}

}  // namespace objectstore
