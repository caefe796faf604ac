// Which records a command works on, and in which order: fields named by people, searches by the library, one sort.
#ifndef XKRDB_TOOL_RECORD_SELECTION_H
#define XKRDB_TOOL_RECORD_SELECTION_H

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "database_session.h"

namespace xkrdb {

struct SelectionOptions {
  std::vector<std::string> where;  // FIELD=TEXT; a record must meet all of them
  bool words = false;              // search by words also where the field has values
  bool exact = false;              // the whole text must be the same
  std::string sort;                // empty: in the order of creation
  bool descending = false;
  std::optional<size_t> skip;
  std::optional<size_t> limit;
};

// The field of this name: the very name, else the only one that differs in upper and lower case alone. Throws
// ToolError, with the nearest name and the list of all, when there is none.
size_t FindField(const std::vector<Field>& fields, const std::string& typed);

// Splits FIELD=TEXT where the part before the sign is a field's name.
std::pair<size_t, std::u16string> FieldAndText(const std::vector<Field>& fields, const std::string& typed);

// "a,b,c" as field indexes; every field in display order when typed is empty.
std::vector<size_t> FindColumns(const Database& database, const std::string& typed);

// Text from the command line, which must be UTF-8.
std::u16string WideArgument(const std::string& text);

// Records in the order of creation, numbered from 1.
std::vector<Record> AllRecords(Database& database);

std::vector<Record> SelectRecords(Database& database, const SelectionOptions& options);

// Records of which some field, or one of the named fields, has words that begin with every word of text.
std::vector<Record> FindByWords(Database& database, const std::vector<size_t>& fields, const std::u16string& text);

// "3", "5-9", "last" as numbers of records that exist, in the order given, each once. Throws ToolError for others.
std::vector<uint32_t> RecordNumbers(const std::vector<std::string>& typed, uint32_t record_count);

}  // namespace xkrdb

#endif
