// Making a database, and adding many records at once. Both write through a reference of their own instead of the
// environment's, so that nothing reaches the disk before the file is closed: one flush, and all or nothing.
#ifndef XKRDB_TOOL_DATABASE_MAKER_H
#define XKRDB_TOOL_DATABASE_MAKER_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "database_session.h"
#include "mdb.h"

namespace xkrdb {

struct DatabaseDesign {
  std::u16string name;  // shown to people
  std::vector<std::u16string> field_names;
  std::vector<uint8_t> field_types;
  std::vector<std::u16string> value_lists;
  DateFormat date_format;
  TimeFormat time_format;
};

// Records to add, by index: the texts of a record's fields stay valid until the next one is asked for.
struct RecordSource {
  size_t count = 0;
  std::function<std::vector<const MDbChar*>(size_t)> texts;
  std::function<std::string(size_t)> name;  // how a message names the record: "data.csv:7"
};

// Makes a database that must not exist and puts the records into it. When anything fails, an interruption by the user
// included, the file is removed again.
void MakeDatabase(const std::string& path, const DatabaseDesign& design, const RecordSource& records);

// Adds records to a database, which is closed by this. When anything fails before the end, the file is as it was.
void AddRecords(Database& database, const RecordSource& records);

}  // namespace xkrdb

#endif
