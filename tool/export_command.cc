// xkrdb export: records as a file that import reads back to the same records.
#include <fmt/format.h>

#include <numeric>
#include <set>
#include <string_view>

#include "commands.h"
#include "output_file.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"

namespace xkrdb {
namespace {

// Fields in the order of the database, not of display: another database made from the file gets the same order.
std::vector<size_t> ExportColumns(const Database& database, const std::string& typed) {
  if (!typed.empty()) return FindColumns(database, typed);
  std::vector<size_t> columns(database.fields().size());
  std::iota(columns.begin(), columns.end(), size_t{0});
  return columns;
}

void NoteNames(const std::vector<Field>& fields, const std::vector<size_t>& columns) {
  std::set<std::u16string> seen;
  for (const size_t column : columns) {
    const std::u16string& name = fields[column].name;
    if (!name.empty() && seen.insert(name).second) continue;
    PrintMessage(fmt::format("note: the field name {} is {}; import will refuse this file", Quoted(name),
                             name.empty() ? "empty" : "there twice"));
  }
}

}  // namespace

ExitCode RunExport(const ExportOptions& options) {
  RequireDatabaseName(options.database);
  const bool to_output = options.file.empty() || options.file == "-";
  OutputOptions output = options.output;
  output.delimiter = DelimiterOf(options.delimiter, options.file);
  const bool json = output.json || (!output.csv && std::string_view(options.file).ends_with(".json"));
  if (std::string_view(options.file).ends_with(".xdb")) {
    throw ToolError(ExitCode::kUsage, fmt::format("{} looks like a database; export writes CSV or JSON", options.file));
  }
  Database database(options.database);
  const std::vector<size_t> columns = ExportColumns(database, output.columns);
  const std::vector<Record> records = SelectRecords(database, options.selection);
  const Controls controls = to_output && OutputIsTerminal() ? Controls::kEscaped : Controls::kRaw;
  const std::string text = json ? FormatJson(database.fields(), columns, records, output)
                                : FormatCsv(database.fields(), columns, records, output, controls);
  if (!json) NoteNames(database.fields(), columns);
  database.Close();
  if (to_output) {
    WriteOutput(text);
  } else {
    WriteFileWhole(options.file, text, options.force);
    PrintMessage(fmt::format("{}: {} record{} written", options.file, records.size(), records.size() == 1 ? "" : "s"));
  }
  return records.empty() && !options.selection.where.empty() ? ExitCode::kNothingFound : ExitCode::kDone;
}

}  // namespace xkrdb
