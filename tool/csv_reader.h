// One CSV file as rows of text, read whole before anything is done with it. Values are kept byte for byte: blanks are
// not trimmed, quotes are taken strictly. What cannot be taken is listed with its line, every row of it, so that one
// run shows all there is to mend.
#ifndef XKRDB_TOOL_CSV_READER_H
#define XKRDB_TOOL_CSV_READER_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace xkrdb {

struct CsvRow {
  size_t line = 0;  // where the row begins, counted from 1
  std::vector<std::u16string> values;
};

struct CsvProblem {
  size_t line = 0;
  std::string what;
};

struct CsvTable {
  std::vector<std::u16string> header;
  size_t header_line = 0;
  std::vector<CsvRow> rows;  // those without a problem, at most kMostRowsKept of them
  size_t row_count = 0;      // all of them
  size_t blank_lines = 0;    // skipped
  std::vector<CsvProblem> problems;
};

struct CsvReadOptions {
  char delimiter = ',';
  std::vector<std::u16string> header;  // when given, the file has none: its first row is data
};

// Reads a file, or standard input when path is "-". Throws ToolError when it cannot be read; what is wrong inside it is
// in the table's problems, in the order of lines.
CsvTable ReadCsv(const std::string& path, const CsvReadOptions& options);

// The same from anywhere: next_block is told how many rows there were so far and gives the next bytes, which need to last
// until it is asked again; nothing at the end. Where one block ends and the next begins makes a difference only to the
// moment when a limit of the whole file is noticed. Failures call the file by the name.
using CsvBlocks = std::function<std::string_view(size_t rows)>;
CsvTable ReadCsvBlocks(const std::string& name, const CsvBlocks& next_block, const CsvReadOptions& options);

// How messages name the file: "data.csv", or "standard input".
std::string CsvName(const std::string& path);

}  // namespace xkrdb

#endif
