// The SQL of volume files: what is created, what is found and run. Nothing else in the house holds SQL.
#pragma once

#include <cstdint>

namespace objectstore {

inline constexpr uint32_t kApplicationId = 0x584B5244;  // "XKRD"
inline constexpr uint32_t kFirstFormatVersion = 1;
inline constexpr uint32_t kFormatVersion = 3;
inline constexpr uint32_t kPageBytes = 4096;

// A row of SQLite's own table of tables, as a sound file holds it. Tables never move: no page but a root page of its own
// may be one, or writing one table would write into another.
struct SchemaRow {
  const char* type;
  const char* name;
  const char* table;
  int64_t root_page;
  const char* sql;
};
inline constexpr SchemaRow kSchema[] = {
    {"table", "volume", "volume", 2, "CREATE TABLE volume(id INTEGER PRIMARY KEY, body BLOB NOT NULL)"},
    {"table", "database", "database", 3, "CREATE TABLE database(oid INTEGER PRIMARY KEY, body BLOB NOT NULL)"},
    {"table", "record", "record", 4, "CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL)"},
    {"table", "packed", "packed", 5, "CREATE TABLE packed(key INTEGER PRIMARY KEY, body BLOB NOT NULL)"},
};

enum class Table { kVolume, kDatabase, kRecord, kPacked };  // places in kSchema

namespace sql {

inline constexpr char kReadSchema[] = "SELECT type, name, tbl_name, rootpage, sql FROM sqlite_schema ORDER BY rowid";
// What a header says once the side file is read as well.
inline constexpr struct {
  const char* sql;
  int64_t value;
} kHeaderNumbers[] = {{"PRAGMA application_id", kApplicationId}, {"PRAGMA auto_vacuum", 0}};
inline constexpr char kReadFormatVersion[] = "PRAGMA user_version";

inline constexpr char kSetFormatVersion[] = "PRAGMA user_version = 3";

// The lock mode stands first: it must be set before the file is looked at for the first time. What is deleted is zeroed
// where that writes no page more: else each page that becomes free would go through the log.
inline constexpr char kSetUpConnection[] =
    "PRAGMA locking_mode = EXCLUSIVE;"
    "PRAGMA secure_delete = FAST;"
    "PRAGMA synchronous = FULL;"
    "PRAGMA cell_size_check = ON;"
    "PRAGMA mmap_size = 0;"
    "PRAGMA temp_store = MEMORY;"
    "PRAGMA max_page_count = 16777216";  // 64 GiB

// For files that are examined: SQLite's own check of the structure.
inline constexpr char kCheckCellSizes[] = "PRAGMA cell_size_check = ON";
inline constexpr char kCheckStructure[] = "PRAGMA integrity_check(20)";

inline constexpr char kBegin[] = "BEGIN IMMEDIATE";
inline constexpr char kCommit[] = "COMMIT";
inline constexpr char kRollback[] = "ROLLBACK";

inline constexpr char kReadVolume[] = "SELECT id, body FROM volume WHERE id BETWEEN ? AND ? ORDER BY id";
inline constexpr char kReadDatabases[] = "SELECT oid, body FROM database WHERE oid BETWEEN ? AND ? ORDER BY oid";
inline constexpr char kReadRecords[] = "SELECT key, body FROM record WHERE key BETWEEN ? AND ? ORDER BY key";
inline constexpr char kReadPacked[] = "SELECT key, body FROM packed WHERE key BETWEEN ? AND ? ORDER BY key";

inline constexpr char kPutVolume[] = "INSERT OR REPLACE INTO volume(id, body) VALUES(?, ?)";
inline constexpr char kPutDatabase[] = "INSERT OR REPLACE INTO database(oid, body) VALUES(?, ?)";
inline constexpr char kPutRecord[] = "INSERT OR REPLACE INTO record(key, body) VALUES(?, ?)";
inline constexpr char kPutPacked[] = "INSERT OR REPLACE INTO packed(key, body) VALUES(?, ?)";

inline constexpr char kDeleteDatabase[] = "DELETE FROM database WHERE oid = ?";
inline constexpr char kDeleteRecord[] = "DELETE FROM record WHERE key = ?";
inline constexpr char kDeletePacked[] = "DELETE FROM packed WHERE key = ?";

inline constexpr char kDeleteRecordRange[] = "DELETE FROM record WHERE key BETWEEN ? AND ?";
inline constexpr char kDeletePackedRange[] = "DELETE FROM packed WHERE key BETWEEN ? AND ?";

}  // namespace sql

}  // namespace objectstore
