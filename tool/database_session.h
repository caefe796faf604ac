// The library as the tool uses it: an environment, the one database opened in it, and record sets over that database.
// Each closes itself when it leaves scope; Close says whether closing, which writes, went well.
#ifndef XKRDB_TOOL_DATABASE_SESSION_H
#define XKRDB_TOOL_DATABASE_SESSION_H

#include <cstdint>
#include <string>
#include <vector>

#include "mdb.h"

namespace xkrdb {

// An initialised environment.
class Environment {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  MDbEnv* get() { return &env_; }
  MDbEnv* operator->() { return &env_; }

 private:
  MDbEnv env_;
};

struct Field {
  std::u16string name;
  uint8_t type = MDbFieldText;
  uint32_t max_size = 0;  // bytes with the terminator; 0 when the library names no limit
  uint16_t display_order = 0;
};

struct Record {
  uint32_t number = 0;  // place in the order of creation, counted from 1
  uint32_t oid = 0;
  uint8_t state = 0;
  std::vector<std::u16string> values;
};

// The log may hold 65535 entries; the library opens them by a position of 15 bits.
constexpr uint32_t kReachableLogEntries = 32768;

// A database opened with all its tables.
class Database {
 public:
  explicit Database(const std::string& path);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Closes the file and writes what was not written yet. Throws ToolError when that fails.
  void Close();

  MDbEnv* env() { return environment_.get(); }
  const std::string& path() const { return path_; }
  const std::vector<Field>& fields() const { return fields_; }
  // Field indexes in the order in which they are shown.
  std::vector<size_t> DisplayOrder() const;
  std::u16string Name();
  MDbAttrs Attributes();
  std::vector<std::u16string> ValueLists();
  uint32_t RecordCount();
  uint32_t LogCount();
  // Entry number position (from 0) of the deletion log, below kReachableLogEntries.
  Record LogEntry(uint32_t position);

 private:
  void ReadFields();
  void CloseQuietly();

  Environment environment_;
  std::string path_;
  std::vector<Field> fields_;
  bool open_ = false;
};

// A record set over a database: every record, or those that a search of one field finds.
class RecordSet {
 public:
  explicit RecordSet(Database& database);
  RecordSet(Database& database, size_t field, int16_t mode, const std::u16string& text);
  ~RecordSet();
  RecordSet(const RecordSet&) = delete;
  RecordSet& operator=(const RecordSet&) = delete;

  void Sort(size_t field, bool descending);
  uint32_t Count();
  // The record at an index of this record set. Its number is not known here and stays 0.
  Record Read(uint32_t index);
  uint32_t Oid(uint32_t index);
  MDbRecset* get() { return &recset_; }

 private:
  void Open(uint32_t index);

  Database& database_;
  MDbRecset recset_;
  std::u16string text_;  // what is searched for: it must outlive every sort
};

// Throws ToolError unless status is MDbStatusOk. what says what was being done.
void Require(MDbStatus status, const std::string& what);
// The same for a call that only reads: when it fails the database is at fault.
void RequireRead(MDbStatus status, const std::string& what);

// A path as the library takes it. Throws ToolError when it is not UTF-8 or too long.
std::u16string WidePath(const std::string& path);

}  // namespace xkrdb

#endif
