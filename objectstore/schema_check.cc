// See schema_check.h.
#include "schema_check.h"

#include <string_view>

#include "volume_schema.h"

namespace objectstore {

namespace {

bool SameText(const StatementUse& row, int column, std::string_view expected) {
  std::string_view text;
  return row.GetText(column, text) && text == expected;
}

bool SameRow(const StatementUse& row, const SchemaRow& expected) {
  int64_t root_page = 0;
  return SameText(row, 0, expected.type) && SameText(row, 1, expected.name) && SameText(row, 2, expected.table) &&
         row.GetNumber(3, root_page) && root_page == expected.root_page && SameText(row, 4, expected.sql);
}

Status ReadNumber(sqlite3* connection, const char* sql, int64_t& number) {
  Statement statement;
  STORE_TRY(statement.Prepare(connection, sql));
  StatementUse use(statement);
  bool has_row = false;
  STORE_TRY(use.Step(has_row));
  return has_row && use.GetNumber(0, number) ? Status::kOk : Status::kCorrupt;
}

}  // namespace

Status CheckHeaderNumbers(sqlite3* connection, uint32_t& version) {
  int64_t number = 0;
  for (const auto& [sql, expected] : sql::kHeaderNumbers) {
    STORE_TRY(ReadNumber(connection, sql, number));
    if (number != expected) return Status::kCorrupt;
  }
  STORE_TRY(ReadNumber(connection, sql::kReadFormatVersion, number));
  if (number < kFirstFormatVersion || number > kFormatVersion) return Status::kCorrupt;
  version = static_cast<uint32_t>(number);
  return Status::kOk;
}

Status CheckTableOfTables(sqlite3* connection) {
  Statement statement;
  STORE_TRY(statement.Prepare(connection, sql::kReadSchema));
  StatementUse use(statement);
  bool has_row = false;
  for (const SchemaRow& expected : kSchema) {
    STORE_TRY(use.Step(has_row));
    if (!has_row || !SameRow(use, expected)) return Status::kCorrupt;
  }
  STORE_TRY(use.Step(has_row));
  return has_row ? Status::kCorrupt : Status::kOk;
}

}  // namespace objectstore
