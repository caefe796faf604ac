// Whether what SQLite gets to see is a volume: the header as it counts, and the table of tables, row by row.
#pragma once

#include "sqlite_statement.h"

namespace objectstore {

// Corrupt when it is none.
Status CheckHeaderNumbers(sqlite3* connection, uint32_t& version);
Status CheckTableOfTables(sqlite3* connection);

}  // namespace objectstore
