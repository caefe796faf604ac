// Types for the columns of a CSV file, proposed from the whole column: a number only when its text can be made again
// from its value, a date only when one order of day, month and year explains every date of the file, a time only when
// every value is one. Everything else is text, with a note where it nearly was something else.
#ifndef XKRDB_TOOL_TYPE_PROPOSAL_H
#define XKRDB_TOOL_TYPE_PROPOSAL_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "csv_reader.h"
#include "database_formats.h"
#include "mdb.h"

namespace xkrdb {

struct TypeRequest {
  std::vector<std::optional<uint8_t>> types;  // per column; what is given is not questioned
  std::optional<uint8_t> date_order;
};

struct TypeProposal {
  std::vector<uint8_t> types;      // per column
  std::vector<std::string> notes;  // per column, may be empty
  DateFormat date_format;
  TimeFormat time_format;
};

// Leaves the scratch database under the formats proposed.
TypeProposal ProposeTypes(const CsvTable& table, const TypeRequest& request, ScratchDatabase& scratch);

}  // namespace xkrdb

#endif
