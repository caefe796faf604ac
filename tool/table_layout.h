// An aligned table of safe texts that fits a number of terminal columns.
#ifndef XKRDB_TOOL_TABLE_LAYOUT_H
#define XKRDB_TOOL_TABLE_LAYOUT_H

#include <cstddef>
#include <string>
#include <vector>

namespace xkrdb {

struct TableColumn {
  std::string heading;
  bool right_aligned = false;
  bool whole = false;  // half a number, date or time misleads: left out rather than cut
};

struct Table {
  std::vector<TableColumn> columns;
  std::vector<std::vector<std::string>> rows;  // safe texts, one per column
};

// width 0: as wide as needed. A table that is too wide has its widest columns cut first, down to 6 places; columns that do not fit even
// then are left out from the right, and a last line says how many. styled: the heading in bold.
std::string LayOut(const Table& table, size_t width, bool styled);

// Lines of "name: value", the names padded to one width.
std::string LayOutPairs(const std::vector<std::pair<std::string, std::string>>& pairs, bool styled);

}  // namespace xkrdb

#endif
