// What an import is going to do, and everything that keeps it from being done. Nothing is written while it is made.
#ifndef XKRDB_TOOL_IMPORT_PLAN_H
#define XKRDB_TOOL_IMPORT_PLAN_H

#include <optional>
#include <string>
#include <vector>

#include "csv_reader.h"
#include "database_session.h"
#include "type_proposal.h"

namespace xkrdb {

// The problems of one file, printed as "file:line: what" in the order of lines.
class ProblemList {
 public:
  ProblemList(std::string file, std::vector<CsvProblem> problems)
      : file_(std::move(file)), problems_(std::move(problems)) {}

  void Add(size_t line, std::string what) { problems_.push_back({line, std::move(what)}); }
  bool empty() const { return problems_.empty(); }
  // Prints all of them and throws ToolError when there are any.
  void Report();

 private:
  std::string file_;
  std::vector<CsvProblem> problems_;
};

// The heading line: names there, not empty, each once, not too many; and at least one row below it.
void CheckHeader(const CsvTable& table, ProblemList& problems);

// A field as the values of its column are judged.
struct TargetField {
  uint8_t type = MDbFieldText;
  uint32_t max_size = 0;
  std::optional<size_t> column;  // none: the field stays empty
};

// Every value against its field, and the number of rows against the room that is left.
void CheckValues(MDbEnv* env, const CsvTable& table, const std::vector<TargetField>& fields, bool any_value,
                 ProblemList& problems);
void CheckRoom(const CsvTable& table, uint32_t records_already, ProblemList& problems);

// "name=text,size=number" for these columns. Throws ToolError for names and types that are none.
std::vector<std::optional<uint8_t>> RequestedTypes(const std::string& typed, const CsvTable& table);

}  // namespace xkrdb

#endif
