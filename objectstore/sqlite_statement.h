// SQLite's connections and prepared statements, closed and reset by scope.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <span>
#include <string_view>

#include "status.h"

namespace objectstore {

// The last-error number for a result of SQLite. Reads and writes that the device refused are told apart.
Status StatusOfSqlite(int result);

struct CloseConnection {
  void operator()(sqlite3* connection) const { sqlite3_close(connection); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

// Runs statements without parameters or results.
Status Execute(sqlite3* connection, const char* sql);

// A prepared statement that is kept for as long as its connection.
class Statement {
 public:
  Status Prepare(sqlite3* connection, const char* sql);

 private:
  friend class StatementUse;
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

// One run of a prepared statement. Parameters and columns count from 0.
class StatementUse {
 public:
  explicit StatementUse(const Statement& statement) : statement_(statement.statement_.get()) {}
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;
  ~StatementUse();

  StatementUse& Bind(int parameter, int64_t number);
  StatementUse& Bind(int parameter, std::span<const uint8_t> bytes);  // which must live until the end of the use

  // Moves to the next row. Without one, has_row is false.
  Status Step(bool& has_row);

  // Runs a statement that has no rows.
  Status Run();

  // False when the column holds something else.
  bool GetNumber(int column, int64_t& number) const;
  bool GetBlob(int column, std::span<const uint8_t>& bytes) const;  // valid until the next step
  bool GetText(int column, std::string_view& text) const;           // the same

 private:
  sqlite3_stmt* statement_;
  int bind_result_ = SQLITE_OK;
};

}  // namespace objectstore
