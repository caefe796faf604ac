// Records as text: a table for people, CSV and JSON for programs. Everything is put together before the first byte is
// written, so that a value that cannot be expressed leaves no half output behind.
#ifndef XKRDB_TOOL_RECORD_OUTPUT_H
#define XKRDB_TOOL_RECORD_OUTPUT_H

#include <cstddef>
#include <string>
#include <vector>

#include "database_session.h"
#include "table_layout.h"

namespace xkrdb {

struct OutputOptions {
  bool json = false;
  bool csv = false;
  bool numbers = false;  // record numbers in CSV and JSON, too
  std::string columns;   // "a,b"; empty: every field in display order
  char delimiter = ',';
};

// Escape control characters in CSV: for a terminal. JSON always escapes them, which changes nothing in it.
enum class Controls { kEscaped, kRaw };

// The rows of a CSV file with its heading line. Throws ToolError for half a surrogate pair, naming the record.
std::string FormatCsv(const std::vector<Field>& fields, const std::vector<size_t>& columns,
                      const std::vector<Record>& records, const OutputOptions& options, Controls controls);
// An array of one object per record. Numbers that JSON prints the same way are JSON numbers, everything else is text.
std::string FormatJson(const std::vector<Field>& fields, const std::vector<size_t>& columns,
                       const std::vector<Record>& records, const OutputOptions& options);
Table RecordTable(const std::vector<Field>& fields, const std::vector<size_t>& columns,
                  const std::vector<Record>& records);

// What a command that lists records prints, in the form that was asked for.
std::string FormatRecords(const Database& database, const std::vector<Record>& records, const OutputOptions& options);

// Rows of text that are no records (what info lists), as CSV.
std::string FormatCsvRows(const std::vector<std::vector<std::string>>& rows, char delimiter, Controls controls);

// The state of a record in words.
std::string StateText(uint8_t state);

}  // namespace xkrdb

#endif
