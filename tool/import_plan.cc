// Every test goes through the whole file, so that one run lists all there is to mend.
#include "import_plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "interruption.h"
#include "name_suggestion.h"
#include "record_selection.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "utf_text.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

constexpr size_t kMostColumns = 255;  // a display order is one byte

std::vector<std::string> ColumnNames(const CsvTable& table) {
  std::vector<std::string> names;
  for (const std::u16string& name : table.header) names.push_back(ToUtf8(name).value_or(""));
  return names;
}

size_t FindColumn(const std::vector<std::string>& names, const std::string& typed) {
  const auto found = std::find(names.begin(), names.end(), typed);
  if (found != names.end()) return static_cast<size_t>(found - names.begin());
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  const std::optional<std::string> nearest = NearestName(typed, names);
  throw ToolError(ExitCode::kUsage, fmt::format("--types: no column \"{}\"{} The columns are: {}", typed,
                                                nearest ? fmt::format("; did you mean \"{}\"?", *nearest) : ".", list));
}

}  // namespace

void ProblemList::Report() {
  if (problems_.empty()) return;
  std::stable_sort(problems_.begin(), problems_.end(),
                   [](const CsvProblem& a, const CsvProblem& b) { return a.line < b.line; });
  std::set<size_t> lines;
  for (const CsvProblem& problem : problems_) {
    lines.insert(problem.line);
    PrintMessage(fmt::format("{}:{}: {}", file_, problem.line, problem.what));
  }
  throw ToolError(ExitCode::kBadInput, fmt::format("{} bad row{} in {}; nothing was imported", lines.size(),
                                                   lines.size() == 1 ? "" : "s", file_));
}

void CheckHeader(const CsvTable& table, ProblemList& problems) {
  const size_t line = std::max<size_t>(table.header_line, 1);
  if (table.header.empty()) {
    if (problems.empty())
      problems.Add(line, "the file is empty: a heading line with the names of the columns is needed");
    return;
  }
  std::set<std::u16string> seen;
  for (size_t i = 0; i < table.header.size(); ++i) {
    const std::u16string& name = table.header[i];
    if (name.empty()) {
      problems.Add(line, fmt::format("column {} has no name", i + 1));
    } else if (!seen.insert(name).second) {
      problems.Add(line, fmt::format("column {}: the name {} is there twice", i + 1, Quoted(name)));
    }
  }
  if (table.header.size() > kMostColumns) {
    problems.Add(line, fmt::format("{} columns, but at most {} are possible", table.header.size(), kMostColumns));
  }
  if (table.row_count == 0 && problems.empty()) {
    problems.Add(line, "there are no rows below the heading line (xkrdb new makes a database without records)");
  }
}

void CheckValues(MDbEnv* env, const CsvTable& table, const std::vector<TargetField>& fields, bool any_value,
                 ProblemList& problems) {
  Progress progress("checking rows", table.rows.size());
  for (size_t i = 0; i < table.rows.size(); ++i) {
    Interruption::Check();
    const CsvRow& row = table.rows[i];
    for (const TargetField& field : fields) {
      if (!field.column) continue;
      const std::optional<std::string> what =
          ValueProblem(env, field.type, field.max_size, row.values[*field.column], any_value);
      if (what) problems.Add(row.line, fmt::format("column {}: {}", Quoted(table.header[*field.column]), *what));
    }
    progress.Update(i + 1);
  }
}

void CheckRoom(const CsvTable& table, uint32_t records_already, ProblemList& problems) {
  const size_t room = MDB_MAX_RECORDS - std::min<size_t>(records_already, MDB_MAX_RECORDS);
  if (table.row_count <= room) return;
  const size_t line = table.rows.size() > room ? table.rows[room].line : std::max<size_t>(table.header_line, 1);
  const std::string already = records_already > 0 ? fmt::format(", and it holds {} already", records_already) : "";
  problems.Add(line, fmt::format("{} rows do not fit: a database holds at most {} records{}", table.row_count,
                                 +MDB_MAX_RECORDS, already));
}

std::vector<std::optional<uint8_t>> RequestedTypes(const std::string& typed, const CsvTable& table) {
  std::vector<std::optional<uint8_t>> types(table.header.size());
  const std::vector<std::string> names = ColumnNames(table);
  std::string entry;
  for (size_t start = 0; start < typed.size();) {
    const size_t comma = std::min(typed.find(',', start), typed.size());
    entry += typed.substr(start, comma - start);
    start = comma + 1;
    const size_t sign = entry.rfind('=');
    const std::string type_name = sign == std::string::npos ? std::string() : entry.substr(sign + 1);
    const std::optional<uint8_t> type = TypeFromName(type_name);
    if (!type && sign == std::string::npos && start < typed.size()) {
      entry += ',';  // a name with a comma in it
      continue;
    }
    if (!type) {
      throw ToolError(ExitCode::kUsage,
                      fmt::format("--types: \"{}\" is not of the form NAME=TYPE with one of the types "
                                  "text, number, date and time",
                                  entry));
    }
    types[FindColumn(names, entry.substr(0, sign))] = type;
    entry.clear();
  }
  return types;
}

}  // namespace xkrdb
